#include "platform/Random.h"

#include <cerrno>
#include <cstdlib>
#include <utility>

#include <sys/random.h>

namespace platform {
namespace {

bool drawAll(std::span<uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t got = ::getrandom(bytes.data(), bytes.size(), 0);
        if (got < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        bytes = bytes.subspan(static_cast<size_t>(got));
    }
    return true;
}

}  // namespace

RandomSource::~RandomSource() = default;

bool RandomSource::acquire() {
    acquired_ = true;
    return true;
}

bool RandomSource::draw(std::span<uint8_t> bytes) {
    if (!acquired_) {
        errno = EBADF;
        return false;
    }
    return drawAll(bytes);
}

bool RandomSource::release() {
    if (!acquired_) errno = EBADF;
    return std::exchange(acquired_, false);
}

void fillRandom(std::span<uint8_t> bytes) {
    // Going on with bytes that can be guessed would be worse than ending.
    if (!drawAll(bytes)) std::abort();
}

}  // namespace platform
