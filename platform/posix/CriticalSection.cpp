#include "platform/CriticalSection.h"

#include <mutex>

namespace platform {

struct CriticalSection::Impl {
    std::recursive_mutex mutex;
};

CriticalSection::CriticalSection() : impl_(std::make_unique<Impl>()) {}

CriticalSection::~CriticalSection() = default;

void CriticalSection::enter() {
    impl_->mutex.lock();
}

void CriticalSection::leave() {
    impl_->mutex.unlock();
}

}  // namespace platform
