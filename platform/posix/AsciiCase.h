// Comparing names without regard to ASCII case: paths, INI sections and keys. Other letters are
// compared as they are, so that the result never depends on a locale.
#pragma once

#include <algorithm>
#include <string_view>

namespace platform {

constexpr char foldAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline bool equalIgnoringCase(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, foldAscii, foldAscii);
}

/// Orders names that differ only in case as equal.
struct LessIgnoringCase {
    bool operator()(std::string_view a, std::string_view b) const {
        return std::ranges::lexicographical_compare(a, b, {}, foldAscii, foldAscii);
    }
};

}  // namespace platform
