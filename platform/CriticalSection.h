// The platform's lock between threads of one process; the thread that holds it may enter again.
#pragma once

#include <memory>

namespace platform {

class CriticalSection {
  public:
    CriticalSection();
    ~CriticalSection();
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void enter();
    void leave();

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace platform
