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

/// Code pages that have another name here than "CP" with their number: those from first to last
/// have this one, with the number less `offset` behind it where there is an offset.
struct NameRow {
    uint32_t first;
    uint32_t last;
    const char* name;
    uint32_t offset;
};

constexpr NameRow kNames[] = {
    {37, 37, "IBM037", 0},
    {708, 708, "ASMO-708", 0},
    {1047, 1047, "IBM1047", 0},
    {10000, 10000, "MACINTOSH", 0},
    {10007, 10007, "MAC-CYRILLIC", 0},
    {10017, 10017, "MAC-UK", 0},
    {10029, 10029, "MAC-CENTRALEUROPE", 0},
    {10079, 10079, "MAC-IS", 0},
    {12000, 12000, "UTF-32LE", 0},
    {12001, 12001, "UTF-32BE", 0},
    {20105, 20105, "ISO646-US", 0},
    {20106, 20106, "DIN_66003", 0},
    {20107, 20107, "SEN_850200_B", 0},
    {20108, 20108, "NS_4551-1", 0},
    {20127, 20127, "US-ASCII", 0},
    {20261, 20261, "T.61-8BIT", 0},
    {20269, 20269, "ISO_6937", 0},
    {20273, 20424, "IBM", 20000},
    {20866, 20866, "KOI8-R", 0},
    {20871, 20905, "IBM", 20000},
    {20932, 20932, "EUC-JP", 0},
    {20936, 20936, "EUC-CN", 0},
    {20949, 20949, "EUC-KR", 0},
    {21025, 21025, "IBM1025", 0},
    {21866, 21866, "KOI8-U", 0},
    {28591, 28606, "ISO-8859-", 28590},
    {38598, 38598, "ISO-8859-8", 0},
    {50220, 50222, "ISO-2022-JP", 0},
    {50225, 50225, "ISO-2022-KR", 0},
    {50227, 50227, "ISO-2022-CN", 0},
    {51932, 51932, "EUC-JP", 0},
    {51936, 51936, "EUC-CN", 0},
    {51949, 51949, "EUC-KR", 0},
    {54936, 54936, "GB18030", 0},
    {65000, 65000, "UTF-7", 0},
};

std::string nameOf(uint32_t codePage) {
    for (const NameRow& row : kNames) {
        if (codePage < row.first || codePage > row.last) continue;
        return row.offset == 0 ? row.name : row.name + std::to_string(codePage - row.offset);
    }
    return "CP" + std::to_string(codePage);
}

}  // namespace

CodePageConverter::CodePageConverter(uint32_t codePage, Direction direction)
    : direction_(direction) {
    const std::string name = nameOf(codePage);
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

void CodePageConverter::skipCharacter(std::string_view& rest, std::string& result) {
    ++lost_;
    if (direction_ == Direction::kToUtf8) {
        appendUtf8(result, kReplacementCharacter);
        rest.remove_prefix(1);
    } else {
        result += '?';
        rest.remove_prefix(decodeUtf8(rest).length);
    }
}

}  // namespace platform
