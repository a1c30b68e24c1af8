// An unnamed shared-memory section backed by the paging file, and its mapped view.
#pragma once

#include <cstddef>
#include <cstdint>

namespace platform {

class AnonymousSection {
  public:
    AnonymousSection() = default;
    ~AnonymousSection();
    AnonymousSection(const AnonymousSection&) = delete;
    AnonymousSection& operator=(const AnonymousSection&) = delete;

    /// Makes a section of that many bytes, all zero; 0 bytes fail. Closes what was there before.
    /// Result: 0 or the system's error code.
    uint32_t create(size_t size);
    /// Maps the whole section for reading and writing. Result: 0 or the system's error code.
    uint32_t map();
    void close();

    uint8_t* data() const { return view_; }  ///< null when not mapped
    size_t size() const { return size_; }

  private:
    intptr_t handle_ = -1;
    uint8_t* view_ = nullptr;
    size_t size_ = 0;
};

}  // namespace platform
