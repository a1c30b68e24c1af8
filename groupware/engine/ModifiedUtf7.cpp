#include "groupware/engine/ModifiedUtf7.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "platform/CodePage.h"

namespace groupware {

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+,";

bool isPrintableAscii(char16_t unit) {
    return unit >= 0x20 && unit <= 0x7E;
}

void appendRun(std::string& out, std::u16string_view run) {
    out += '&';
    uint32_t bits = 0;
    int count = 0;
    for (const char16_t unit : run) {
        bits = (bits << 16) | unit;
        count += 16;
        while (count >= 6) {
            count -= 6;
            out += kAlphabet[(bits >> count) & 0x3F];
        }
    }
    if (count > 0) out += kAlphabet[(bits << (6 - count)) & 0x3F];
    out += '-';
}

/// The units of a run between "&" and "-"; left-over bits are judged by encoding again.
std::optional<std::u16string> unitsOf(std::string_view run) {
    std::u16string units;
    uint32_t bits = 0;
    int count = 0;
    for (const char c : run) {
        const size_t value = kAlphabet.find(c);
        if (value == std::string_view::npos) return std::nullopt;
        bits = (bits << 6) | static_cast<uint32_t>(value);
        count += 6;
        if (count >= 16) {
            count -= 16;
            units += static_cast<char16_t>((bits >> count) & 0xFFFF);
        }
    }
    return units;
}

std::optional<std::u16string> decoded(std::string_view text) {
    std::u16string units;
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '&') {
            units += static_cast<unsigned char>(text[at]);
            continue;
        }
        const size_t end = text.find('-', at);
        if (end == std::string_view::npos) return std::nullopt;
        const auto run = unitsOf(text.substr(at + 1, end - at - 1));
        if (!run) return std::nullopt;
        units += run->empty() ? std::u16string(u"&") : *run;
        at = end;
    }
    return units;
}

/// Most names read the same in either form.
bool isPlain(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~' && c != '&'; });
}

}  // namespace

std::string encodeModifiedUtf7(std::string_view utf8) {
    if (isPlain(utf8)) return std::string(utf8);
    const std::u16string units = platform::utf8ToUtf16(utf8);
    std::string out;
    for (size_t at = 0; at < units.size();) {
        if (isPrintableAscii(units[at])) {
            out += static_cast<char>(units[at]);
            if (units[at] == u'&') out += '-';
            ++at;
            continue;
        }
        size_t end = at;
        while (end < units.size() && !isPrintableAscii(units[end])) ++end;
        appendRun(out, std::u16string_view(units).substr(at, end - at));
        at = end;
    }
    return out;
}

std::string decodeModifiedUtf7(std::string_view text) {
    if (isPlain(text)) return std::string(text);
    const auto units = decoded(text);
    if (!units) return std::string(text);
    std::string utf8 = platform::utf16ToUtf8(*units);
    return encodeModifiedUtf7(utf8) == text ? utf8 : std::string(text);
}

}  // namespace groupware
