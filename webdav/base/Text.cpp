#include "webdav/base/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "platform/CodePage.h"
#include "webdav/base/OrdinaryBytes.h"

namespace webdav {

namespace {

constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view kFolderNameAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+,";
constexpr std::string_view kHexDigits = "0123456789ABCDEF";
/// What RFC 3986 lets stand in a segment of a path beside letters and digits.
constexpr std::string_view kSegmentMarks = "-._~!$&'()*+,;=:@";

constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool isUpper(char c) {
    return c >= 'A' && c <= 'Z';
}
constexpr bool isLower(char c) {
    return c >= 'a' && c <= 'z';
}
constexpr char toLower(char c) {
    return isUpper(c) ? static_cast<char>(c - 'A' + 'a') : c;
}
constexpr uint8_t toByte(char c) {
    return static_cast<uint8_t>(c);
}

/// Collects bits and hands them on in groups of another size, the first bits first.
class BitRegroup {
  public:
    explicit BitRegroup(unsigned groupBits) : groupBits_(groupBits) {}

    void push(uint32_t value, unsigned bits) {
        held_ = held_ << bits | value;
        count_ += bits;
    }
    bool hasGroup() const { return count_ >= groupBits_; }
    bool hasRest() const { return count_ > 0; }
    /// The next group; a last one that is not full is completed with zero bits.
    uint32_t take() {
        if (!hasGroup()) push(0, groupBits_ - count_);
        count_ -= groupBits_;
        const uint32_t group = held_ >> count_;
        held_ &= (1U << count_) - 1;
        return group;
    }

  private:
    unsigned groupBits_;
    uint32_t held_ = 0;
    unsigned count_ = 0;
};

constexpr std::array<int8_t, 256> makeBase64Values() {
    std::array<int8_t, 256> values{};
    values.fill(-1);
    for (size_t i = 0; i < kBase64Alphabet.size(); ++i)
        values[toByte(kBase64Alphabet[i])] = static_cast<int8_t>(i);
    return values;
}

constexpr std::array<int8_t, 256> kBase64Values = makeBase64Values();

using ByteSet = std::array<bool, 256>;

/// Letters, digits and these.
constexpr ByteSet makeByteSet(std::string_view marks) {
    ByteSet bytes{};
    for (unsigned i = 0; i < bytes.size(); ++i) {
        const char c = static_cast<char>(i);
        bytes[i] = isDigit(c) || isUpper(c) || isLower(c) || marks.find(c) != marks.npos;
    }
    return bytes;
}

constexpr ByteSet kSegmentBytes = makeByteSet(kSegmentMarks);
constexpr ByteSet kPathBytes = [] {
    ByteSet bytes = kSegmentBytes;
    bytes['/'] = true;
    return bytes;
}();

/// False for letters, digits and the marks that most UIDs are made of.
constexpr auto mayNeedEscape = [](uint8_t c) -> bool {
    const bool letter = static_cast<uint8_t>((c | 0x20) - 'a') < 26;
    const bool digit = static_cast<uint8_t>(c - '0') < 10;
    return !(letter ^ digit ^ (c == '-') ^ (c == '.') ^ (c == '@') ^ (c == '_'));
};
/// The same for paths, those with base64 names too.
constexpr auto mayNeedEscapeInPath = [](uint8_t c) -> bool {
    return mayNeedEscape(c) ^ (c == '/') ^ (c == '=');
};

template <typename MayNeedEscape>
void appendPercentEncoded(std::string& encoded, std::string_view decoded, const ByteSet& staying,
                          MayNeedEscape isSpecial) {
    size_t begin = 0;  // of what is not copied yet
    for (size_t i = ordinaryStart(decoded, isSpecial); i < decoded.size(); ++i) {
        const uint8_t byte = toByte(decoded[i]);
        if (staying[byte]) continue;
        encoded.append(decoded, begin, i - begin);
        encoded += {'%', kHexDigits[byte >> 4], kHexDigits[byte & 15]};
        begin = i + 1;
    }
    encoded.append(decoded, begin);
}

int hexValue(char c) {
    if (isDigit(c)) return c - '0';
    const char lower = toLower(c);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

uint64_t eightAt(const char* bytes) {
    uint64_t eight = 0;
    std::memcpy(&eight, bytes, sizeof eight);
    return eight;
}

/// The number of ASCII bytes that the text starts with.
size_t asciiRun(std::string_view text) {
    constexpr uint64_t kHighBits = 0x8080808080808080U;
    const char* at = text.data();
    const char* const end = at + text.size();
    // Most of an answer goes by in the long steps.
    for (; end - at >= 32; at += 32) {
        const uint64_t all = eightAt(at) | eightAt(at + 8) | eightAt(at + 16) | eightAt(at + 24);
        if ((all & kHighBits) != 0) break;
    }
    while (end - at >= 8 && (eightAt(at) & kHighBits) == 0) at += 8;
    while (at < end && toByte(*at) < 0x80) ++at;
    return static_cast<size_t>(at - text.data());
}

/// The length of the sequence of more than one byte that the text starts with; 0 when it is none.
size_t sequenceLength(std::string_view text) {
    if (text.size() < 2) return 0;
    const unsigned lead = toByte(text[0]);
    const unsigned pair = lead << 8 | toByte(text[1]);
    size_t length = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (pair >= 0xE0A0 && pair <= 0xEFFF) {
        const bool surrogate = pair >= 0xEDA0 && pair <= 0xEE7F;
        length = surrogate ? 0 : 3;
    } else if (pair >= 0xF090 && pair <= 0xF48F) {
        length = 4;
    }
    if (length == 0 || text.size() < length) return 0;
    const auto continues = [](char c) { return (toByte(c) & 0xC0) == 0x80; };
    return std::ranges::all_of(text.substr(1, length - 1), continues) ? length : 0;
}

}  // namespace

std::string Base64Encode(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    BitRegroup bits(6);
    for (const char c : bytes) {
        bits.push(toByte(c), 8);
        while (bits.hasGroup()) text += kBase64Alphabet[bits.take()];
    }
    if (bits.hasRest()) text += kBase64Alphabet[bits.take()];
    text.append((4 - text.size() % 4) % 4, '=');
    return text;
}

std::string Base64Decode(std::string_view text) {
    std::string bytes(text.size() / 4 * 3 + 3, '\0');
    size_t count = 0;
    // Not regrouped as above: each login and most paths are decoded.
    uint32_t held = 0;
    unsigned heldBits = 0;
    for (const char c : text.substr(0, text.find('='))) {
        const int8_t value = kBase64Values[toByte(c)];
        if (value < 0) continue;
        held = held << 6 | static_cast<uint32_t>(value);
        heldBits += 6;
        if (heldBits < 8) continue;
        heldBits -= 8;
        bytes[count++] = static_cast<char>(held >> heldBits);
    }
    bytes.resize(count);
    return bytes;
}

std::string EncodeModifiedUtf7(std::string_view utf8) {
    // Most names read the same in either form.
    const auto isPlain = [](char c) { return c >= ' ' && c <= '~' && c != '&'; };
    if (std::ranges::all_of(utf8, isPlain)) return std::string(utf8);
    std::string name;
    BitRegroup bits(6);
    bool inRun = false;
    const auto endRun = [&] {
        if (!inRun) return;
        if (bits.hasRest()) name += kFolderNameAlphabet[bits.take()];
        name += '-';
        inRun = false;
    };
    for (const char16_t unit : platform::utf8ToUtf16(utf8)) {
        if (unit >= 0x20 && unit <= 0x7E) {
            endRun();
            name += static_cast<char>(unit);
            if (unit == u'&') name += '-';
            continue;
        }
        if (!inRun) name += '&';
        inRun = true;
        bits.push(unit, 16);
        while (bits.hasGroup()) name += kFolderNameAlphabet[bits.take()];
    }
    endRun();
    return name;
}

bool IsValidUtf8(std::string_view text) {
    std::string_view rest = text;
    while (true) {
        rest.remove_prefix(asciiRun(rest));
        if (rest.empty()) return true;
        const size_t length = sequenceLength(rest);
        // Behind a NUL nothing counts; hardly a text has one, so it is looked for last.
        if (length == 0) return text.substr(0, text.size() - rest.size()).find('\0') != text.npos;
        rest.remove_prefix(length);
    }
}

std::string RemoveInvalidUtf8(std::string_view bytes) {
    // Unlike the test above, this takes U+FFFF for invalid as well.
    constexpr std::string_view kLastOfPlane = "\xEF\xBF\xBF";
    std::string clean;
    clean.reserve(bytes.size());
    while (!bytes.empty()) {
        size_t length = asciiRun(bytes);
        if (length == 0 && !bytes.starts_with(kLastOfPlane)) length = sequenceLength(bytes);
        clean.append(bytes.substr(0, length));
        bytes.remove_prefix(std::max<size_t>(length, 1));
    }
    return clean;
}

bool EqualsNoCase(std::string_view left, std::string_view right) {
    if (left.size() != right.size()) return false;
    for (size_t i = 0; i < left.size(); ++i)
        if (left[i] != right[i] && toLower(left[i]) != toLower(right[i])) return false;
    return true;
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
    return EqualsNoCase(text.substr(0, prefix.size()), prefix);
}

bool EndsWithNoCase(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() &&
           EqualsNoCase(text.substr(text.size() - suffix.size()), suffix);
}

std::string ToLowerAscii(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), toLower);
    return lower;
}

void AppendUriPath(std::string& encoded, std::string_view decoded) {
    appendPercentEncoded(encoded, decoded, kPathBytes, mayNeedEscapeInPath);
}

void AppendUriSegment(std::string& encoded, std::string_view decoded) {
    appendPercentEncoded(encoded, decoded, kSegmentBytes, mayNeedEscape);
}

std::string EncodeUriPath(std::string_view decoded) {
    std::string encoded;
    AppendUriPath(encoded, decoded);
    return encoded;
}

std::string DecodeSlashes(std::string_view name) {
    constexpr std::string_view kEscape = "%2F";
    std::string decoded;
    decoded.reserve(name.size());
    for (size_t at = name.find('%'); at != name.npos; at = name.find('%')) {
        decoded += name.substr(0, at);
        name.remove_prefix(at);
        const bool slash = StartsWithNoCase(name, kEscape);
        decoded += slash ? '/' : '%';
        name.remove_prefix(slash ? kEscape.size() : 1);
    }
    return decoded += name;
}

std::string DecodeUriPath(std::string_view encoded) {
    if (encoded.find('%') == encoded.npos) return std::string(encoded);
    std::string decoded;
    decoded.reserve(encoded.size());
    for (size_t escape = encoded.find('%'); escape != encoded.npos; escape = encoded.find('%')) {
        decoded += encoded.substr(0, escape);
        encoded.remove_prefix(escape);
        const int high = encoded.size() > 2 ? hexValue(encoded[1]) : -1;
        const int low = encoded.size() > 2 ? hexValue(encoded[2]) : -1;
        const bool whole = high >= 0 && low >= 0;
        decoded += whole ? static_cast<char>(high << 4 | low) : '%';
        encoded.remove_prefix(whole ? 3 : 1);
    }
    return decoded += encoded;
}

}  // namespace webdav
