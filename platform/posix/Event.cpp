#include "platform/Event.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <limits>
#include <mutex>
#include <vector>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "platform/posix/Descriptor.h"

namespace platform {

// A set event is a counter above zero, which every waiting poll sees until it is read. Whether it
// is set is known besides, as a queue sets the event of its reader with every entry.
struct Event::Impl {
    Descriptor counter{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    std::mutex setting;
    bool isSet = false;  ///< guarded by setting

    /// Who learns that the event is set sees all that was done before, and may destroy it: set()
    /// is through with it.
    void awaitSetting() { const std::lock_guard lock(setting); }
};

struct WaitAccess {
    static int descriptor(const Event* event) {
        return event == nullptr ? -1 : event->impl_->counter.get();
    }
    static void awaitSetting(const Event* event) { event->impl_->awaitSetting(); }
};

namespace {

using Clock = std::chrono::steady_clock;

/// What is left until the deadline, in the form that poll takes; -1 waits for ever.
int remainingMs(Clock::time_point deadline, bool forever) {
    if (forever) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<int64_t>(left, 0, std::numeric_limits<int>::max()));
}

}  // namespace

Event::Event() : impl_(std::make_unique<Impl>()) {}

Event::~Event() = default;

bool Event::valid() const {
    return impl_->counter.valid();
}

bool Event::set() {
    const uint64_t one = 1;
    const std::lock_guard lock(impl_->setting);
    if (impl_->isSet) return true;
    impl_->isSet = ::write(impl_->counter.get(), &one, sizeof one) == sizeof one;
    return impl_->isSet;
}

bool Event::reset() {
    uint64_t count = 0;
    const std::lock_guard lock(impl_->setting);
    if (!impl_->isSet) return valid();
    impl_->isSet = ::read(impl_->counter.get(), &count, sizeof count) != sizeof count;
    return !impl_->isSet;
}

bool Event::isSet() const {
    const std::lock_guard lock(impl_->setting);
    return impl_->isSet;
}

WaitResult waitForAny(std::span<Event* const> events, uint32_t timeoutMs) {
    using Kind = WaitResult::Kind;
    if (events.empty()) return {Kind::kFailed, 0, EINVAL};
    std::vector<pollfd> entries;
    entries.reserve(events.size());
    for (const Event* event : events) {
        const int descriptor = WaitAccess::descriptor(event);
        if (descriptor < 0) return {Kind::kFailed, 0, EBADF};
        entries.push_back({.fd = descriptor, .events = POLLIN, .revents = 0});
    }
    const bool forever = timeoutMs == kWaitForever;
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    while (true) {
        const int wait = remainingMs(deadline, forever);
        const int ready = ::poll(entries.data(), entries.size(), wait);
        if (ready < 0 && errno != EINTR) return {Kind::kFailed, 0, static_cast<uint32_t>(errno)};
        if (ready > 0) {
            size_t first = 0;
            while (entries[first].revents == 0) ++first;
            WaitAccess::awaitSetting(events[first]);
            return {Kind::kSignalled, first, 0};
        }
        if (!forever && Clock::now() >= deadline) return {Kind::kTimeout, 0, 0};
    }
}

}  // namespace platform
