#include "platform/posix/Utf.h"

#include <array>
#include <cstdint>

namespace platform {
namespace {

/// What may follow a leading byte: the bounds of its second byte keep out characters that are too
/// long for their value, halves of UTF-16 pairs and what lies beyond U+10FFFF.
struct Lead {
    uint8_t first;
    uint8_t last;
    uint8_t length;
    uint8_t secondFirst;
    uint8_t secondLast;
    uint8_t mask;
};

constexpr std::array<Lead, 9> kLeads{{
    {0x00, 0x7F, 1, 0x00, 0x00, 0x7F},
    {0xC2, 0xDF, 2, 0x80, 0xBF, 0x1F},
    {0xE0, 0xE0, 3, 0xA0, 0xBF, 0x0F},
    {0xE1, 0xEC, 3, 0x80, 0xBF, 0x0F},
    {0xED, 0xED, 3, 0x80, 0x9F, 0x0F},
    {0xEE, 0xEF, 3, 0x80, 0xBF, 0x0F},
    {0xF0, 0xF0, 4, 0x90, 0xBF, 0x07},
    {0xF1, 0xF3, 4, 0x80, 0xBF, 0x07},
    {0xF4, 0xF4, 4, 0x80, 0x8F, 0x07},
}};

const Lead* leadOf(uint8_t byte) {
    for (const Lead& lead : kLeads) {
        if (byte >= lead.first && byte <= lead.last) return &lead;
    }
    return nullptr;
}

constexpr bool isHighSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool isLowSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

}  // namespace

DecodedCharacter decodeUtf8(std::string_view text) {
    const auto byteAt = [text](size_t index) { return static_cast<uint8_t>(text[index]); };
    const Lead* const lead = leadOf(byteAt(0));
    if (lead == nullptr) return {};
    char32_t character = byteAt(0) & lead->mask;
    for (size_t i = 1; i < lead->length; ++i) {
        const uint8_t low = i == 1 ? lead->secondFirst : 0x80;
        const uint8_t high = i == 1 ? lead->secondLast : 0xBF;
        if (i >= text.size() || byteAt(i) < low || byteAt(i) > high) {
            return {kReplacementCharacter, i, false};
        }
        character = (character << 6) | (byteAt(i) & 0x3FU);
    }
    return {character, lead->length, true};
}

DecodedCharacter decodeUtf16(std::u16string_view text) {
    const char16_t unit = text.front();
    if (isHighSurrogate(unit) && text.size() > 1 && isLowSurrogate(text[1])) {
        const char32_t character = 0x10000 + ((unit - 0xD800U) << 10) + (text[1] - 0xDC00U);
        return {character, 2, true};
    }
    if (isHighSurrogate(unit) || isLowSurrogate(unit)) return {};
    return {unit, 1, true};
}

void appendUtf8(std::string& text, char32_t character) {
    const auto append = [&text](char32_t byte) { text += static_cast<char>(byte); };
    const auto appendTrail = [&](unsigned shift) {
        append(0x80U | ((character >> shift) & 0x3FU));
    };
    if (character < 0x80) {
        append(character);
    } else if (character < 0x800) {
        append(0xC0U | (character >> 6));
        appendTrail(0);
    } else if (character < 0x10000) {
        append(0xE0U | (character >> 12));
        appendTrail(6);
        appendTrail(0);
    } else {
        append(0xF0U | (character >> 18));
        appendTrail(12);
        appendTrail(6);
        appendTrail(0);
    }
}

void appendUtf16(std::u16string& text, char32_t character) {
    if (character < 0x10000) {
        text += static_cast<char16_t>(character);
        return;
    }
    text += static_cast<char16_t>(0xD800U + ((character - 0x10000) >> 10));
    text += static_cast<char16_t>(0xDC00U + (character & 0x3FFU));
}

}  // namespace platform
