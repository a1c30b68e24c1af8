#include "host/ListenAddress.h"

#include <charconv>

namespace host {

std::optional<ListenAddress> parseListenAddress(const std::string& text) {
    const size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon + 1 == text.size()) return std::nullopt;
    ListenAddress listen;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data() + colon + 1, end, listen.port);
    if (error != std::errc() || rest != end) return std::nullopt;
    listen.address = text.substr(0, colon);
    if (listen.address.size() > 2 && listen.address.front() == '[' &&
        listen.address.back() == ']') {
        listen.address = listen.address.substr(1, listen.address.size() - 2);
    } else if (listen.address.find(':') != std::string::npos) {
        return std::nullopt;
    }
    if (listen.address.empty()) return std::nullopt;
    return listen;
}

}  // namespace host
