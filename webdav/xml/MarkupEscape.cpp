#include "webdav/xml/MarkupEscape.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "webdav/base/OrdinaryBytes.h"
#include "webdav/xml/EntityNames.h"

namespace webdav {

namespace {

struct Escape {
    char byte;
    std::string_view written;
};

constexpr Escape kContentEscapes[] = {{'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}};
constexpr Escape kAttributeEscapes[] = {{'&', "&amp;"},  {'<', "&lt;"},    {'>', "&gt;"},
                                        {'"', "&quot;"}, {'\'', "&apos;"}, {'\t', "&#9;"},
                                        {'\n', "&#10;"}, {'\r', "&#13;"}};

/// Whether a byte is escaped or dropped in content.
constexpr auto isSpecial = [](uint8_t c) -> bool {
    const bool control = (c < ' ') ^ (c == '\t') ^ (c == '\n') ^ (c == '\r');
    return control ^ (c == '&') ^ ((c | 2) == '>');  // "<" is one bit less than ">"
};

/// For every byte, what is written for it: 0 itself, 1 nothing, else the escape of this number - 2.
class EscapeTable {
  public:
    constexpr explicit EscapeTable(std::span<const Escape> escapes)
        : escapes_(escapes), escapesQuotes_(false) {
        for (int byte = 0; byte < 0x20; ++byte) {
            if (byte != '\t' && byte != '\n' && byte != '\r') action_[index(byte)] = 1;
        }
        for (size_t i = 0; i < escapes.size(); ++i) {
            action_[index(escapes[i].byte)] = static_cast<uint8_t>(i + 2);
        }
        escapesQuotes_ = action_['"'] != 0 || action_['\''] != 0;
    }

    void append(std::string& out, std::string_view text) const {
        size_t begin = 0;  // of what is not copied yet
        for (size_t i = 0; i < text.size();) {
            if (!escapesQuotes_) i += ordinaryStart(text.substr(i), isSpecial);
            for (const size_t end = std::min(i + kBytesAtOnce, text.size()); i < end; ++i) {
                const uint8_t action = action_[index(text[i])];
                if (action == 0) continue;
                out.append(text, begin, i - begin);
                if (action > 1) out.append(escapes_[action - 2U].written);
                begin = i + 1;
            }
        }
        out.append(text, begin);
    }

  private:
    static constexpr size_t index(int byte) { return static_cast<unsigned char>(byte); }

    std::array<uint8_t, 256> action_{};
    std::span<const Escape> escapes_;
    bool escapesQuotes_;
};

constexpr EscapeTable kContent{kContentEscapes};
constexpr EscapeTable kAttribute{kAttributeEscapes};
constexpr EscapeTable kControls{std::span<const Escape>{}};

bool isDocumentCharacter(char32_t c) {
    if (c < 0x20) return c == '\t' || c == '\n' || c == '\r';
    return c < 0xD800 || (c >= 0xE000 && c != 0xFFFE && c != 0xFFFF && c <= 0x10FFFF);
}

void appendUtf8(std::string& out, char32_t c) {
    const auto continuation = [](char32_t bits) { return static_cast<char>(0x80 | (bits & 0x3F)); };
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += {static_cast<char>(0xC0 | (c >> 6)), continuation(c)};
    } else if (c < 0x10000) {
        out += {static_cast<char>(0xE0 | (c >> 12)), continuation(c >> 6), continuation(c)};
    } else {
        out += {static_cast<char>(0xF0 | (c >> 18)), continuation(c >> 12), continuation(c >> 6),
                continuation(c)};
    }
}

std::optional<unsigned> digitValue(char c, unsigned base) {
    unsigned value = base;
    if (c >= '0' && c <= '9') value = static_cast<unsigned>(c - '0');
    if (c >= 'a' && c <= 'f') value = static_cast<unsigned>(c - 'a') + 10;
    if (c >= 'A' && c <= 'F') value = static_cast<unsigned>(c - 'A') + 10;
    return value < base ? std::optional(value) : std::nullopt;
}

/// The character of "#233" or "#xE9".
std::optional<char32_t> numberedCharacter(std::string_view body) {
    body.remove_prefix(1);
    const bool hexadecimal = body.starts_with('x') || body.starts_with('X');
    if (hexadecimal) body.remove_prefix(1);
    const unsigned base = hexadecimal ? 16 : 10;
    if (body.empty()) return std::nullopt;
    char32_t character = 0;
    for (const char c : body) {
        const auto digit = digitValue(c, base);
        if (!digit) return std::nullopt;
        character = character * base + *digit;
        if (character > 0x10FFFF) return std::nullopt;
    }
    return isDocumentCharacter(character) ? std::optional(character) : std::nullopt;
}

/// The inside of the reference at the start of `text` ("amp" of "&amp;"); empty when it is none.
std::string_view referenceBody(std::string_view text) {
    for (size_t i = 1; i < text.size(); ++i) {
        const char c = text[i];
        if (c == ';') return text.substr(1, i - 1);
        const bool inside = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
                            (c >= 'A' && c <= 'Z') || (c == '#' && i == 1);
        if (!inside) break;
    }
    return {};
}

/// Copies text with a blank between two characters that must not follow each other.
void appendApart(std::string& out, std::string_view text, char first, char second) {
    for (const char c : text) {
        if (c == second && out.back() == first) out += ' ';
        appendWithoutControls(out, {&c, 1});
    }
}

}  // namespace

void appendContent(std::string& out, std::string_view text) {
    kContent.append(out, text);
}

void appendAttributeValue(std::string& out, std::string_view text) {
    kAttribute.append(out, text);
}

void appendWithoutControls(std::string& out, std::string_view text) {
    kControls.append(out, text);
}

void appendCData(std::string& out, std::string_view text) {
    out += "<![CDATA[";
    for (size_t end; (end = text.find("]]>")) != std::string_view::npos;
         text.remove_prefix(end + 3)) {
        appendWithoutControls(out, text.substr(0, end));
        out += "]]]]><![CDATA[>";
    }
    appendWithoutControls(out, text);
    out += "]]>";
}

void appendComment(std::string& out, std::string_view text) {
    out += "<!--";
    appendApart(out, text, '-', '-');
    if (out.back() == '-' && !text.empty()) out += ' ';
    out += "-->";
}

void appendInstruction(std::string& out, std::string_view text) {
    out += "<?";
    appendApart(out, text, '?', '>');
    out += "?>";
}

void appendDecoded(std::string& out, std::string_view text) {
    for (size_t at; (at = text.find('&')) != std::string_view::npos;) {
        out.append(text, 0, at);
        text.remove_prefix(at);
        const std::string_view body = referenceBody(text);
        const auto character =
            body.starts_with('#') ? numberedCharacter(body) : entityCharacter(body);
        if (character) {
            appendUtf8(out, *character);
            text.remove_prefix(body.size() + 2);
        } else {
            out += '&';
            text.remove_prefix(1);
        }
    }
    out.append(text);
}

std::string decodeReferences(std::string_view text) {
    std::string decoded;
    appendDecoded(decoded, text);
    return decoded;
}

}  // namespace webdav
