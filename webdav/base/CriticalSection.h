// The module's lock and its guard for a scope.
#pragma once

#include "platform/CriticalSection.h"

namespace webdav {

class CCriticalSection {
  public:
    CCriticalSection() = default;
    virtual ~CCriticalSection() = default;
    CCriticalSection(const CCriticalSection&) = delete;
    CCriticalSection& operator=(const CCriticalSection&) = delete;

    void Enter() { section_.enter(); }
    void Leave() { section_.leave(); }

  private:
    platform::CriticalSection section_;
};

/// Holds the lock until its scope ends.
class CSingleCrit {
  public:
    explicit CSingleCrit(CCriticalSection& section) : section_(&section) {
        section_->Enter();
        held_ = true;
    }
    ~CSingleCrit() {
        if (held_) section_->Leave();
    }
    CSingleCrit(const CSingleCrit&) = delete;
    CSingleCrit& operator=(const CSingleCrit&) = delete;

  private:
    CCriticalSection* section_;
    bool held_ = false;
};

}  // namespace webdav
