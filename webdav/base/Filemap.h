// A request's body: a buffer in the paging file rather than on the heap.
//
// Used by the thread of its request. Raises ExceptObj when the system has no section to give.
#pragma once

#include <cstdint>

#include "platform/AnonymousSection.h"

namespace webdav {

class FileMap {
  public:
    /// Replaces the buffer by a new one of that many bytes, all zero. 0 bytes fail. After a failure
    /// there is no buffer.
    void Allocate(uint32_t size);

    /// Null without a buffer.
    uint8_t* data() const { return section_.data(); }
    uint32_t size() const { return static_cast<uint32_t>(section_.size()); }

  private:
    platform::AnonymousSection section_;
};

}  // namespace webdav
