#include "platform/AnonymousSection.h"

#include <cerrno>
#include <utility>

#include <sys/mman.h>

namespace platform {

// Pages without a name need no descriptor: creating reserves the addresses, mapping opens them for
// use and only then counts them against the memory of the machine. handle_ is the first address.

AnonymousSection::~AnonymousSection() {
    close();
}

uint32_t AnonymousSection::create(size_t size) {
    close();
    void* const pages = ::mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) return static_cast<uint32_t>(errno);
    handle_ = reinterpret_cast<intptr_t>(pages);
    size_ = size;
    return 0;
}

uint32_t AnonymousSection::map() {
    if (handle_ == -1) return EBADF;
    void* const pages = reinterpret_cast<void*>(handle_);
    if (::mprotect(pages, size_, PROT_READ | PROT_WRITE) != 0) return static_cast<uint32_t>(errno);
    view_ = static_cast<uint8_t*>(pages);
    return 0;
}

void AnonymousSection::close() {
    view_ = nullptr;
    const size_t size = std::exchange(size_, 0);
    const intptr_t pages = std::exchange(handle_, -1);
    if (pages != -1) ::munmap(reinterpret_cast<void*>(pages), size);
}

}  // namespace platform
