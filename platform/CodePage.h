// Conversion between UTF-8, UTF-16, the system code page and any other code page.
//
// On POSIX the system code page is UTF-8 unless the registry file says another: CodePage=1252 in
// its section [Platform]. What the target cannot represent becomes "?"; bytes that are no UTF-8
// become U+FFFD. Every conversion takes time linear in its input.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

inline constexpr uint32_t kCodePageUtf8 = 65001;
inline constexpr uint32_t kCodePageUtf16 = 1200;  ///< little-endian bytes
inline constexpr uint32_t kCodePageUtf16BigEndian = 1201;
inline constexpr uint32_t kCodePageUtf32 = 12000;  ///< little-endian bytes
inline constexpr uint32_t kCodePageUtf32BigEndian = 12001;

uint32_t systemCodePage();

std::u16string utf8ToUtf16(std::string_view utf8);
std::string utf16ToUtf8(std::u16string_view utf16);
std::string utf16ToSystemCodePage(std::u16string_view utf16);
std::string systemCodePageToUtf8(std::string_view text);

struct ConvertedText {
    std::string text;
    size_t lost = 0;  ///< characters, or bytes that are none, which could not be converted
};

/// Between UTF-8 and the code page of a number, UTF-16 and UTF-8 itself among them. Nothing when
/// the system does not know it.
std::optional<ConvertedText> codePageToUtf8(uint32_t codePage, std::string_view bytes);
std::optional<ConvertedText> utf8ToCodePage(uint32_t codePage, std::string_view utf8);

}  // namespace platform
