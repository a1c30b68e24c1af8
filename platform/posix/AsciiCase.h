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
        for (size_t i = 0; i < a.size() && i < b.size(); ++i) {
            if (a[i] == b[i]) continue;  // the usual case, told without folding
            if (foldAscii(a[i]) != foldAscii(b[i])) return foldAscii(a[i]) < foldAscii(b[i]);
        }
        return a.size() < b.size();
    }
};

}  // namespace platform
