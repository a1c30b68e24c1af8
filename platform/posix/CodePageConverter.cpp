#include "platform/posix/CodePageConverter.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include "platform/posix/Utf.h"

namespace platform {
namespace {

iconv_t invalidHandle() {
    return reinterpret_cast<iconv_t>(-1);
}

}  // namespace

CodePageConverter::CodePageConverter(uint32_t codePage, Direction direction)
    : direction_(direction) {
    const std::string name = "CP" + std::to_string(codePage);
    handle_ = direction == Direction::kToUtf8 ? ::iconv_open("UTF-8", name.c_str())
                                              : ::iconv_open(name.c_str(), "UTF-8");
}

CodePageConverter::~CodePageConverter() {
    if (valid()) ::iconv_close(handle_);
}

bool CodePageConverter::valid() const {
    return handle_ != invalidHandle();
}

std::string CodePageConverter::convert(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        std::string_view piece = text.substr(0, pieceLength(text));
        const size_t length = piece.size();
        if (!step(piece, result)) skipCharacter(piece, result);
        text.remove_prefix(length - piece.size());
    }
    // Code pages that shift between sets of characters end in their first one.
    std::array<char, 64> tail{};
    char* out = tail.data();
    size_t room = tail.size();
    ::iconv(handle_, nullptr, nullptr, &out, &room);
    return result.append(tail.data(), tail.size() - room);
}

/// How much to convert in one call. From UTF-8 a character that cannot be converted makes the call
/// go through all its text once more, so there each one beyond ASCII is given by itself.
size_t CodePageConverter::pieceLength(std::string_view text) const {
    if (direction_ == Direction::kToUtf8) return text.size();
    const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
    const auto end = std::ranges::find_if_not(text, isAscii);
    return std::max(static_cast<size_t>(end - text.begin()), decodeUtf8(text).length);
}

/// Converts what fits one buffer; false when the rest begins with what cannot be converted.
bool CodePageConverter::step(std::string_view& rest, std::string& result) {
    std::array<char, 512> buffer{};
    char* in = const_cast<char*>(rest.data());
    size_t left = rest.size();
    char* out = buffer.data();
    size_t room = buffer.size();
    const size_t converted = ::iconv(handle_, &in, &left, &out, &room);
    const bool full = converted == static_cast<size_t>(-1) && errno == E2BIG;
    result.append(buffer.data(), buffer.size() - room);
    rest.remove_prefix(rest.size() - left);
    return converted != static_cast<size_t>(-1) || full;
}

void CodePageConverter::skipCharacter(std::string_view& rest, std::string& result) const {
    if (direction_ == Direction::kToUtf8) {
        appendUtf8(result, kReplacementCharacter);
        rest.remove_prefix(1);
    } else {
        result += '?';
        rest.remove_prefix(decodeUtf8(rest).length);
    }
}

}  // namespace platform
