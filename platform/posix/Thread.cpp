#include "platform/Thread.h"

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>

#include <signal.h>
#include <unistd.h>

#include "platform/Error.h"
#include "platform/Event.h"

namespace platform {

struct Thread::Impl {
    std::mutex mutex;
    std::condition_variable ending;
    bool ended = false;
    std::thread thread;
};

namespace {

/// Keeps signals away from the threads that are made meanwhile: they belong to the host's own.
class SignalsBlocked {
  public:
    SignalsBlocked() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &former_);
    }
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &former_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

  private:
    sigset_t former_{};
};

}  // namespace

Thread::Thread() : impl_(std::make_shared<Impl>()) {}

Thread::~Thread() {
    const std::lock_guard lock(impl_->mutex);
    if (impl_->thread.joinable()) impl_->thread.detach();
}

bool Thread::start(std::function<void()> body) {
    const std::lock_guard lock(impl_->mutex);
    if (impl_->ended || impl_->thread.joinable()) {
        setLastError(EBUSY);
        return false;
    }
    try {
        const SignalsBlocked blocked;
        impl_->thread = std::thread([impl = impl_, body = std::move(body)]() mutable {
            body();
            body = nullptr;  // what it holds is gone before anyone learns of the end
            const std::lock_guard ending(impl->mutex);
            impl->ended = true;
            impl->ending.notify_all();
        });
    } catch (const std::system_error& error) {
        setLastError(static_cast<uint32_t>(error.code().value()));
        return false;
    }
    return true;
}

bool Thread::started() const {
    const std::lock_guard lock(impl_->mutex);
    return impl_->ended || impl_->thread.joinable();
}

bool Thread::waitForEnd(uint32_t timeoutMs) {
    std::unique_lock lock(impl_->mutex);
    const auto over = [this] { return impl_->ended || !impl_->thread.joinable(); };
    if (timeoutMs == kWaitForever) {
        impl_->ending.wait(lock, over);
    } else if (!impl_->ending.wait_for(lock, std::chrono::milliseconds(timeoutMs), over)) {
        return false;
    }
    // Joining waits for the last steps of the thread too, so that the library whose code it ran
    // may be unloaded now.
    if (impl_->thread.joinable()) impl_->thread.join();
    return true;
}

uint32_t currentThreadId() {
    return static_cast<uint32_t>(::gettid());
}

}  // namespace platform
