// ASCII letters without regard to case or to the process's locale.
#pragma once

#include <algorithm>
#include <string_view>

namespace host {

constexpr char lowered(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

inline bool sameText(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, {}, lowered, lowered);
}

constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

constexpr bool isAlphanumeric(char c) {
    return isDigit(c) || (lowered(c) >= 'a' && lowered(c) <= 'z');
}

/// Without the blanks and tabs around it.
constexpr std::string_view trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace host
