#include <cerrno>
#include <csignal>
#include <ctime>
#include <optional>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/Files.h"
#include "platform/posix/Descriptor.h"
#include "platform/posix/PathLookup.h"

namespace platform {
namespace {

constexpr unsigned kLockFileMode = 0640;

/// The lock belongs to this opening of the file, not to the process: so it excludes other threads
/// too, and the system gives it back with the descriptor however the process ends.
class PosixFileLock final : public FileLock {
  public:
    explicit PosixFileLock(Descriptor file) : file_(std::move(file)) {}

  private:
    Descriptor file_;
};

using Clock = std::chrono::steady_clock;

/// Interrupts the calling thread's system call when the time has come, and again and again after
/// that, lest it came just before the call. The system offers no other end to a wait for a lock.
class Alarm {
  public:
    explicit Alarm(std::chrono::milliseconds limit) {
        [[maybe_unused]] static const bool handled = handleSignal();
        sigset_t ours;
        ::sigemptyset(&ours);
        ::sigaddset(&ours, signalNumber());
        ::pthread_sigmask(SIG_UNBLOCK, &ours, &former_);

        sigevent event{};
        event.sigev_notify = SIGEV_THREAD_ID;
        event.sigev_signo = signalNumber();
        event._sigev_un._tid = ::gettid();
        set_ = ::timer_create(CLOCK_MONOTONIC, &event, &timer_) == 0;
        itimerspec times{};
        times.it_value = {limit.count() / 1000, limit.count() % 1000 * 1'000'000 + 1};
        times.it_interval = {0, 20'000'000};
        if (set_) ::timer_settime(timer_, 0, &times, nullptr);
    }
    ~Alarm() {
        const int cause = errno;
        if (set_) ::timer_delete(timer_);
        ::pthread_sigmask(SIG_SETMASK, &former_, nullptr);
        errno = cause;
    }
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

  private:
    static int signalNumber() { return SIGRTMAX - 2; }
    static bool handleSignal() {
        struct sigaction action {};
        action.sa_handler = [](int) {};  // to be interrupted is all
        return ::sigaction(signalNumber(), &action, nullptr) == 0;
    }

    timer_t timer_{};
    bool set_ = false;
    sigset_t former_{};
};

bool timedOut() {
    errno = ETIMEDOUT;
    return false;
}

bool waitForLock(const Descriptor& file, Clock::time_point deadline) {
    if (::flock(file.get(), LOCK_EX | LOCK_NB) == 0) return true;
    const bool bounded = deadline != Clock::time_point::max();
    std::optional<Alarm> alarm;
    if (bounded) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) return timedOut();
        alarm.emplace(left);
    }
    while (::flock(file.get(), LOCK_EX) != 0) {
        if (errno != EINTR) return false;
        if (bounded && Clock::now() >= deadline) return timedOut();
    }
    return true;
}

bool isStillAt(const Descriptor& file, const std::string& native) {
    struct stat locked {};
    struct stat there {};
    return ::fstat(file.get(), &locked) == 0 && ::stat(native.c_str(), &there) == 0 &&
           locked.st_dev == there.st_dev && locked.st_ino == there.st_ino;
}

}  // namespace

std::unique_ptr<FileLock> FileLock::acquire(std::string_view path,
                                            std::chrono::milliseconds limit) {
    const auto deadline = limit == kForEver ? Clock::time_point::max() : Clock::now() + limit;
    const std::string native = findPath(path).native;
    while (true) {
        Descriptor file = openDescriptor(native, O_RDWR | O_CREAT, kLockFileMode);
        if (!file.valid() || !waitForLock(file, deadline)) return nullptr;
        // Whoever held the lock may have replaced the file: then the lock is on a file that
        // nobody else will ever open.
        if (isStillAt(file, native)) return std::make_unique<PosixFileLock>(std::move(file));
    }
}

}  // namespace platform
