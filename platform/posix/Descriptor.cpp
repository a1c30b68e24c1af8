#include "platform/posix/Descriptor.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

Descriptor::~Descriptor() {
    const int cause = errno;
    close();
    errno = cause;
}

Descriptor::Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
}

bool Descriptor::close() {
    const int fd = std::exchange(fd_, -1);
    // An interrupted close has given the descriptor back all the same.
    return fd < 0 || ::close(fd) == 0 || errno == EINTR;
}

Descriptor openDescriptor(const std::string& native, int flags, unsigned mode) {
    int fd = -1;
    do {
        fd = ::open(native.c_str(), flags | O_CLOEXEC, static_cast<mode_t>(mode));
    } while (fd < 0 && errno == EINTR);
    return Descriptor(fd);
}

bool writeAll(const Descriptor& file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(file.get(), bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

std::optional<std::string> readAll(const Descriptor& file, size_t maxBytes) {
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) return std::nullopt;
    constexpr size_t kChunk = 64 * 1024;
    // One byte beyond the size the file tells, so that a file that holds no more is read in one
    // call and its end in the next, without growing the buffer in between.
    const size_t expected = S_ISREG(status.st_mode) ? static_cast<size_t>(status.st_size) : kChunk;
    std::string bytes;
    maxBytes = std::min(maxBytes, bytes.max_size() - 1);
    bytes.resize(std::min(expected, maxBytes) + 1);
    size_t used = 0;
    while (true) {
        const ssize_t got = ::read(file.get(), bytes.data() + used, bytes.size() - used);
        if (got < 0) {
            if (errno == EINTR) continue;
            return std::nullopt;
        }
        if (got == 0) break;
        used += static_cast<size_t>(got);
        if (used > maxBytes) {
            errno = EFBIG;
            return std::nullopt;
        }
        // A file gives less than was asked for at its end alone.
        if (S_ISREG(status.st_mode) && used < bytes.size()) break;
        if (used == bytes.size()) bytes.resize(std::min(used * 2 + kChunk, maxBytes + 1));
    }
    bytes.resize(used);
    return bytes;
}

}  // namespace platform
