// Passes over the bytes of a text that need nothing done to them, as most texts consist of no
// others: several at once, instead of one look into a table for each.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace webdav {

inline constexpr size_t kBytesAtOnce = 16;

/// The number of bytes that the text starts with and that are not special: all of them, or as many
/// whole steps as there are; none of a text that is shorter than one.
/// @param isSpecial judges a byte. It must not branch: then a compiler judges those of a step
/// together, and conditions that exclude each other cost least when "^" joins them.
template <typename IsSpecial>
size_t ordinaryStart(std::string_view text, IsSpecial isSpecial) {
    const auto isOrdinary = [isSpecial](const char* bytes) {
        std::array<uint8_t, kBytesAtOnce> marks;
        for (size_t i = 0; i < kBytesAtOnce; ++i)
            marks[i] = isSpecial(static_cast<uint8_t>(bytes[i]));
        std::array<uint64_t, 2> halves;
        std::memcpy(halves.data(), marks.data(), kBytesAtOnce);
        return (halves[0] | halves[1]) == 0;
    };
    if (text.size() < kBytesAtOnce) return 0;
    const size_t last = text.size() - kBytesAtOnce;
    for (size_t at = 0;; at += kBytesAtOnce) {
        // The last step may judge some bytes once more.
        if (!isOrdinary(text.data() + std::min(at, last))) return at;
        if (at >= last) return text.size();
    }
}

}  // namespace webdav
