#include "webdav/frame/SecretText.h"

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

// Writing through volatile keeps the compiler from dropping stores that nobody reads.
void SecretText::wipe(std::string& text) {
    volatile char* bytes = text.data();
    for (size_t i = 0; i < text.capacity(); ++i) bytes[i] = '\0';
    text.clear();
}

}  // namespace webdav
