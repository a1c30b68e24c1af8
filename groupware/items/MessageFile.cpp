#include "groupware/items/MessageFile.h"

#include <algorithm>
#include <array>

#include "groupware/ical/AsciiText.h"
#include "groupware/ical/ContentLines.h"

namespace groupware {

namespace {

constexpr size_t kDeepestPart = 8;

/// One part of a message: the header fields that matter here, and its body.
struct Part {
    std::string type;  ///< with its parameters
    std::string encoding;
    std::string_view body;
};

/// Header fields have the form of content lines: folded, a name, ":", a value.
Part partOf(std::string_view text) {
    size_t end = 0;
    while (end < text.size()) {
        const size_t line = end;
        const size_t next = text.find('\n', line);
        end = next == std::string_view::npos ? text.size() : next + 1;
        if (trimmed(text.substr(line, end - line)).empty()) break;
    }
    Part part;
    part.body = text.substr(end);
    LineReader header(text.substr(0, end));
    while (header.next()) {
        const ContentLine& field = header.line();
        if (field.is("Content-Type")) part.type = trimmed(field.value);
        if (field.is("Content-Transfer-Encoding")) part.encoding = trimmed(field.value);
    }
    return part;
}

bool isType(const Part& part, std::string_view name) {
    return startsWithName(part.type, name);
}

std::string boundaryOf(const Part& part) {
    ContentLine line;
    const size_t parameters = part.type.find(';');
    if (parameters == std::string::npos) return {};
    line.parameters = std::string_view(part.type).substr(parameters + 1);
    return std::string(line.parameter("boundary").value_or(""));
}

std::string fromBase64(std::string_view text) {
    std::string bytes;
    uint32_t bits = 0;
    int held = 0;
    for (const char c : text) {
        uint32_t value = 0;
        if (c >= 'A' && c <= 'Z') {
            value = static_cast<uint32_t>(c - 'A');
        } else if (c >= 'a' && c <= 'z') {
            value = static_cast<uint32_t>(c - 'a') + 26;
        } else if (c >= '0' && c <= '9') {
            value = static_cast<uint32_t>(c - '0') + 52;
        } else if (c == '+' || c == '/') {
            value = c == '+' ? 62 : 63;
        } else {
            continue;
        }
        bits = (bits << 6U | value) & 0xFFFFFFU;
        held += 6;
        if (held < 8) continue;
        held -= 8;
        bytes += static_cast<char>(bits >> static_cast<unsigned>(held) & 0xFFU);
    }
    return bytes;
}

std::optional<unsigned> hexDigit(char c) {
    if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
    const char upper = asciiUpper(c);
    if (upper >= 'A' && upper <= 'F') return static_cast<unsigned>(upper - 'A') + 10;
    return std::nullopt;
}

std::string fromQuotedPrintable(std::string_view text) {
    std::string bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '=') {
            bytes += text[i];
            continue;
        }
        const std::string_view rest = text.substr(i + 1);
        const auto high = rest.empty() ? std::nullopt : hexDigit(rest[0]);
        const auto low = rest.size() < 2 ? std::nullopt : hexDigit(rest[1]);
        if (high && low) {
            bytes += static_cast<char>(*high << 4U | *low);
            i += 2;
        } else if (rest.starts_with("\r\n")) {
            i += 2;
        } else if (rest.starts_with("\n")) {
            i += 1;
        }
    }
    return bytes;
}

std::string decoded(const Part& part) {
    if (equalNames(part.encoding, "base64")) return fromBase64(part.body);
    if (equalNames(part.encoding, "quoted-printable")) return fromQuotedPrintable(part.body);
    return std::string(part.body);
}

std::optional<std::string> firstCalendar(const Part& part, size_t depth);

/// Looks through the parts between the boundary's lines.
std::optional<std::string> firstOfParts(std::string_view body, const std::string& boundary,
                                        size_t depth) {
    const std::string mark = "--" + boundary;
    size_t begin = std::string_view::npos;
    for (size_t line = 0; line < body.size();) {
        const size_t lineFeed = body.find('\n', line);
        const size_t next = lineFeed == std::string_view::npos ? body.size() : lineFeed + 1;
        if (body.substr(line).starts_with(mark)) {
            if (begin != std::string_view::npos) {
                auto found = firstCalendar(partOf(body.substr(begin, line - begin)), depth + 1);
                if (found) return found;
            }
            begin = next;
        }
        line = next;
    }
    return std::nullopt;
}

std::optional<std::string> firstCalendar(const Part& part, size_t depth) {
    if (isType(part, "text/calendar")) return decoded(part);
    const std::string boundary = boundaryOf(part);
    if (!isType(part, "multipart/") || boundary.empty() || depth == kDeepestPart) {
        return std::nullopt;
    }
    return firstOfParts(part.body, boundary, depth);
}

}  // namespace

std::optional<std::string> calendarTextOf(std::string_view message) {
    LineReader first(message);
    if (first.next() && first.line().is("BEGIN") &&
        equalNames(trimmed(first.line().value), "VCALENDAR")) {
        return std::string(message);
    }
    return firstCalendar(partOf(message), 0);
}

}  // namespace groupware
