#include "platform/CodePage.h"

#include <algorithm>
#include <utility>

#include "platform/PrivateProfile.h"
#include "platform/Registry.h"
#include "platform/posix/CodePageConverter.h"
#include "platform/posix/Utf.h"

namespace platform {
namespace {

ConvertedText withoutBadUtf8(std::string_view text) {
    ConvertedText result;
    result.text.reserve(text.size());
    while (!text.empty()) {
        const DecodedCharacter next = decodeUtf8(text);
        appendUtf8(result.text, next.character);
        if (!next.valid) ++result.lost;
        text.remove_prefix(next.length);
    }
    return result;
}

ConvertedText utf16BytesToUtf8(std::string_view bytes, bool bigEndian) {
    std::u16string units;
    units.reserve(bytes.size() / 2);
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto first = static_cast<uint8_t>(bytes[i]);
        const auto second = static_cast<uint8_t>(bytes[i + 1]);
        const int unit = bigEndian ? first << 8 | second : second << 8 | first;
        units.push_back(static_cast<char16_t>(unit));
    }
    ConvertedText result;
    result.text.reserve(bytes.size());
    for (std::u16string_view rest = units; !rest.empty();) {
        const DecodedCharacter next = decodeUtf16(rest);
        appendUtf8(result.text, next.character);
        if (!next.valid) ++result.lost;
        rest.remove_prefix(next.length);
    }
    if (bytes.size() % 2 != 0) ++result.lost;
    return result;
}

std::string utf16Bytes(std::u16string_view units, bool bigEndian) {
    std::string bytes;
    bytes.reserve(2 * units.size());
    for (const char16_t unit : units) {
        const char low = static_cast<char>(unit & 0xFF);
        const char high = static_cast<char>(unit >> 8);
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    }
    return bytes;
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
    std::optional<ConvertedText> converted = utf8ToCodePage(systemCodePage(), utf8);
    return converted ? std::move(converted->text) : utf8;
}

std::string systemCodePageToUtf8(std::string_view text) {
    std::optional<ConvertedText> converted = codePageToUtf8(systemCodePage(), text);
    return converted ? std::move(converted->text) : withoutBadUtf8(text).text;
}

std::optional<ConvertedText> codePageToUtf8(uint32_t codePage, std::string_view bytes) {
    if (codePage == kCodePageUtf8) return withoutBadUtf8(bytes);
    if (codePage == kCodePageUtf16) return utf16BytesToUtf8(bytes, false);
    if (codePage == kCodePageUtf16BigEndian) return utf16BytesToUtf8(bytes, true);
    CodePageConverter converter(codePage, CodePageConverter::Direction::kToUtf8);
    if (!converter.valid()) return std::nullopt;
    ConvertedText result{converter.convert(bytes)};
    result.lost = converter.lost();
    return result;
}

std::optional<ConvertedText> utf8ToCodePage(uint32_t codePage, std::string_view utf8) {
    ConvertedText result = withoutBadUtf8(utf8);
    if (codePage == kCodePageUtf8) return result;
    if (codePage == kCodePageUtf16 || codePage == kCodePageUtf16BigEndian) {
        result.text = utf16Bytes(utf8ToUtf16(result.text), codePage == kCodePageUtf16BigEndian);
        return result;
    }
    CodePageConverter converter(codePage, CodePageConverter::Direction::kFromUtf8);
    if (!converter.valid()) return std::nullopt;
    result.text = converter.convert(result.text);
    // What was no UTF-8 is a character by now that most code pages do not have.
    result.lost = std::max(result.lost, converter.lost());
    return result;
}

}  // namespace platform
