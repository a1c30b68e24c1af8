#include "webdav/frame/SecretText.h"

#include <cstring>

namespace webdav {

SecretText::SecretText(std::string&& source) : text_(source) {
    wipe(source);
}

// A short text stands within the string itself, where moving would leave it behind.
SecretText::SecretText(SecretText&& other) noexcept {
    text_.swap(other.text_);
}

SecretText& SecretText::operator=(SecretText&& other) noexcept {
    text_.swap(other.text_);
    other.wipe();
    return *this;
}

// A call that the compiler cannot see through keeps it from dropping stores that nobody reads.
void SecretText::wipe(std::string& text) {
    static void* (*const volatile kFill)(void*, int, size_t) = std::memset;
    kFill(text.data(), 0, text.capacity());
    text.clear();
}

}  // namespace webdav
