// Which bytes names of elements and attributes are made of. Bytes beyond ASCII all count as
// letters: the engine does not look into UTF-8.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace webdav {

/// A set of bytes that may stand at some place in a name.
enum class NameBytes : uint8_t {
    kStart = 1,   ///< first in a name
    kInside = 2,  ///< further on
    kLocal = 4,   ///< further on in the local part, which has no colon
};

inline constexpr std::array<uint8_t, 256> kNameBytes = [] {
    std::array<uint8_t, 256> sets{};
    for (size_t c = 0; c < sets.size(); ++c) {
        const bool letter =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c >= 0x80;
        const bool inside = (c >= '0' && c <= '9') || c == '-' || c == '.';
        if (letter) sets[c] = 1 | 2 | 4;
        if (inside) sets[c] = 2 | 4;
        if (c == ':') sets[c] = 1 | 2;
    }
    return sets;
}();

inline bool isOneOf(char c, NameBytes set) {
    return (kNameBytes[static_cast<unsigned char>(c)] & static_cast<uint8_t>(set)) != 0;
}

/// The name at the start of a text; empty when none begins there.
inline std::string_view leadingName(std::string_view text) {
    if (text.empty() || !isOneOf(text.front(), NameBytes::kStart)) return {};
    size_t end = 1;
    while (end < text.size() && isOneOf(text[end], NameBytes::kInside)) ++end;
    return text.substr(0, end);
}

/// Whether a text can be the name of an element or attribute.
inline bool isMarkupName(std::string_view name) {
    return !name.empty() && leadingName(name).size() == name.size();
}

}  // namespace webdav
