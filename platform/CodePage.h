// Conversion between UTF-8, UTF-16 and the system code page.
//
// On POSIX the system code page is UTF-8 unless the registry file says another: CodePage=1252 in
// its section [Platform]. What the target cannot represent becomes "?"; bytes that are no UTF-8
// become U+FFFD. Every conversion takes time linear in its input.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

inline constexpr uint32_t kCodePageUtf8 = 65001;

uint32_t systemCodePage();

std::u16string utf8ToUtf16(std::string_view utf8);
std::string utf16ToUtf8(std::u16string_view utf16);
std::string utf16ToSystemCodePage(std::u16string_view utf16);
std::string systemCodePageToUtf8(std::string_view text);

}  // namespace platform
