#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

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

bool lockFile(const Descriptor& file, int operation) {
    int result = -1;
    do {
        result = ::flock(file.get(), operation);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

bool isStillAt(const Descriptor& file, const std::string& native) {
    struct stat locked {};
    struct stat there {};
    return ::fstat(file.get(), &locked) == 0 && ::stat(native.c_str(), &there) == 0 &&
           locked.st_dev == there.st_dev && locked.st_ino == there.st_ino;
}

std::unique_ptr<FileLock> lockAt(std::string_view path, int operation) {
    const std::string native = findPath(path).native;
    while (true) {
        Descriptor file = openDescriptor(native, O_RDWR | O_CREAT, kLockFileMode);
        if (!file.valid() || !lockFile(file, operation)) return nullptr;
        // Whoever held the lock may have replaced the file: then the lock is on a file that
        // nobody else will ever open.
        if (isStillAt(file, native)) return std::make_unique<PosixFileLock>(std::move(file));
    }
}

}  // namespace

std::unique_ptr<FileLock> FileLock::acquire(std::string_view path) {
    return lockAt(path, LOCK_EX);
}

std::unique_ptr<FileLock> FileLock::tryAcquire(std::string_view path) {
    return lockAt(path, LOCK_EX | LOCK_NB);
}

}  // namespace platform
