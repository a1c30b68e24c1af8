// Strict UTF-8 and UTF-16, one character at a time; used inside the POSIX side only.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

inline constexpr char32_t kReplacementCharacter = 0xFFFD;

/// A character and the units it took. For what is none it is U+FFFD, and the units are the longest
/// start of a character that stands there, at least one.
struct DecodedCharacter {
    char32_t character = kReplacementCharacter;
    size_t length = 1;
    bool valid = false;
};

/// The text must not be empty.
DecodedCharacter decodeUtf8(std::string_view text);
DecodedCharacter decodeUtf16(std::u16string_view text);

void appendUtf8(std::string& text, char32_t character);
void appendUtf16(std::u16string& text, char32_t character);

}  // namespace platform
