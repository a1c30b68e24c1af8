#include "platform/CodePage.h"

#include "platform/PrivateProfile.h"
#include "platform/Registry.h"
#include "platform/posix/CodePageConverter.h"
#include "platform/posix/Utf.h"

namespace platform {
namespace {

std::string withoutBadUtf8(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const DecodedCharacter next = decodeUtf8(text);
        appendUtf8(result, next.character);
        text.remove_prefix(next.length);
    }
    return result;
}

}  // namespace

uint32_t systemCodePage() {
    const int32_t number = readProfileInt(registryFilePath(), "Platform", "CodePage", 0);
    return number > 0 ? static_cast<uint32_t>(number) : kCodePageUtf8;
}

std::u16string utf8ToUtf16(std::string_view utf8) {
    std::u16string result;
    result.reserve(utf8.size());
    while (!utf8.empty()) {
        const DecodedCharacter next = decodeUtf8(utf8);
        appendUtf16(result, next.character);
        utf8.remove_prefix(next.length);
    }
    return result;
}

std::string utf16ToUtf8(std::u16string_view utf16) {
    std::string result;
    result.reserve(utf16.size());
    while (!utf16.empty()) {
        const DecodedCharacter next = decodeUtf16(utf16);
        appendUtf8(result, next.character);
        utf16.remove_prefix(next.length);
    }
    return result;
}

std::string utf16ToSystemCodePage(std::u16string_view utf16) {
    std::string utf8 = utf16ToUtf8(utf16);
    const uint32_t codePage = systemCodePage();
    if (codePage == kCodePageUtf8) return utf8;
    CodePageConverter converter(codePage, CodePageConverter::Direction::kFromUtf8);
    return converter.valid() ? converter.convert(utf8) : utf8;
}

std::string systemCodePageToUtf8(std::string_view text) {
    const uint32_t codePage = systemCodePage();
    if (codePage == kCodePageUtf8) return withoutBadUtf8(text);
    CodePageConverter converter(codePage, CodePageConverter::Direction::kToUtf8);
    return converter.valid() ? converter.convert(text) : withoutBadUtf8(text);
}

}  // namespace platform
