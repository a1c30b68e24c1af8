#include "webdav/frame/URLDecoder.h"

#include <algorithm>
#include <cstdint>

#include "platform/CodePage.h"
#include "webdav/base/ExceptObj.h"

namespace webdav {

namespace {

// Of a longer name only the first bytes are kept.
constexpr size_t kMaxNameBytes = 127;
constexpr size_t kEscapeLength = 3;
constexpr std::string_view kEndOfParameter{"&\0\r\n", 4};

constexpr uint32_t kPlusDoesNotFit = 162;
constexpr uint32_t kByteDoesNotFit = 204;
constexpr uint32_t kTextDoesNotFit = 237;

[[noreturn]] void refuseTooLarge(uint32_t line) {
    throw ExceptObj(line, "URLDecoder", "Parameter Too Large");
}

char toUpperAscii(char byte) {
    return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
}

/// -1 for what is no hex digit.
int hexValue(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    const char upper = toUpperAscii(digit);
    return upper >= 'A' && upper <= 'F' ? upper - 'A' + 10 : -1;
}

/// The bytes of a value before they are read as text.
std::string decodeEscapes(std::string_view raw, size_t room) {
    std::string bytes;
    bytes.reserve(raw.size());
    for (size_t i = 0; i < raw.size(); ++i) {
        const char byte = raw[i];
        const bool full = bytes.size() >= room;
        if (kEndOfParameter.find(byte) != std::string_view::npos) continue;
        if (byte == '%') {
            if (full || raw.size() - i < kEscapeLength) continue;
            const int high = hexValue(raw[i + 1]);
            const int low = hexValue(raw[i + 2]);
            i += kEscapeLength - 1;
            // An escape with one wrong digit is decoded all the same: %G5 is F5, %5G is FF.
            if (high >= 0 || low >= 0) bytes += static_cast<char>((high * 16) | low);
        } else {
            if (full) refuseTooLarge(byte == '+' ? kPlusDoesNotFit : kByteDoesNotFit);
            bytes += byte == '+' ? ' ' : byte;
        }
    }
    return bytes;
}

}  // namespace

CURLDecoder::CURLDecoder(std::string_view query) : rest_(query) {
    while (NextParameter()) {
        // What a name holds behind an encoded NUL is no part of it.
        name_.resize(std::min(name_.find('\0'), name_.size()));
        parameters_[name_] = value_;
        name_.clear();
    }
}

void CURLDecoder::addToName(char byte) {
    if (name_.size() < kMaxNameBytes) name_ += toUpperAscii(byte);
}

/// Takes one byte or escape of a name; used tells how many bytes that were.
void CURLDecoder::takeNameByte(std::string_view rest, size_t& used) {
    used = 1;
    if (rest[0] == '+') return addToName(' ');
    if (rest[0] != '%') return addToName(rest[0]);
    if (name_.size() >= kMaxNameBytes || rest.size() < kEscapeLength) return;
    used = kEscapeLength;
    const int high = hexValue(rest[1]);
    const int low = hexValue(rest[2]);
    if (high >= 0 && low >= 0) addToName(static_cast<char>(high * 16 + low));
}

bool CURLDecoder::NextParameter() {
    while (!rest_.empty() && rest_[0] != '=') {
        // A name without "=" runs on into the next parameter's.
        size_t used = 1;
        if (kEndOfParameter.find(rest_[0]) == std::string_view::npos) takeNameByte(rest_, used);
        rest_.remove_prefix(used);
    }
    if (rest_.empty()) return false;
    rest_.remove_prefix(1);
    value_ = rest_.substr(0, rest_.find_first_of(kEndOfParameter));
    rest_.remove_prefix(std::min(value_.size() + 1, rest_.size()));
    return true;
}

bool CURLDecoder::GetParameter(std::string_view name, std::string& value) const {
    std::string key(name);
    for (char& byte : key) byte = toUpperAscii(byte);
    const auto found = parameters_.find(key);
    if (found == parameters_.end()) return false;
    value = found->second.empty() ? "" : Decode(found->second, found->second.size() + 1);
    return true;
}

std::string CURLDecoder::Decode(std::string_view raw, size_t outputSize) {
    const size_t room = outputSize == 0 ? 0 : outputSize - 1;
    const std::string bytes = decodeEscapes(raw, room);
    const std::string_view utf8 = std::string_view(bytes).substr(0, bytes.find('\0'));
    std::string text = platform::utf16ToSystemCodePage(platform::utf8ToUtf16(utf8));
    if (text.size() + 1 > outputSize) refuseTooLarge(kTextDoesNotFit);
    return text;
}

}  // namespace webdav
