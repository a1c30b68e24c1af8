// Small ASCII helpers for names in iCalendar and vCard texts, which match without regard to case.
#pragma once

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>

namespace groupware {

constexpr char asciiUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
}

inline bool equalNames(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, asciiUpper, asciiUpper);
}

inline bool startsWithName(std::string_view text, std::string_view name) {
    return text.size() >= name.size() && equalNames(text.substr(0, name.size()), name);
}

inline std::string upperName(std::string_view name) {
    std::string upper(name);
    std::ranges::transform(upper, upper.begin(), asciiUpper);
    return upper;
}

inline std::string lowerName(std::string_view name) {
    std::string lower(name);
    for (char& c : lower) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    }
    return lower;
}

constexpr bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

constexpr std::string_view withoutBlanksBehind(std::string_view text) {
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

constexpr std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    return withoutBlanksBehind(text);
}

/// Cuts the text up to the divider off its front; the rest is empty when there is none.
inline std::string_view cutFirst(std::string_view& rest, char divider) {
    const size_t end = rest.find(divider);
    const std::string_view first = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view{} : rest.substr(end + 1);
    return first;
}

/// The whole text as a number with an optional sign.
inline std::optional<int> numberFrom(std::string_view text) {
    if (text.starts_with('+')) text.remove_prefix(1);
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return number;
}

}  // namespace groupware
