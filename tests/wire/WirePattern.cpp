#include "tests/wire/WirePattern.h"

#include <algorithm>

#include "tests/wire/WireScript.h"

namespace wire {

namespace {

constexpr size_t kShown = 100;
constexpr std::string_view kHex = "hex:";
constexpr std::string_view kFill = "fill:";
constexpr std::string_view kLater = "later:";

std::string shown(std::string_view text) {
    std::string out(text.substr(0, kShown));
    std::ranges::replace_if(
        out, [](char c) { return c == '\r' || c == '\n'; }, '|');
    return out + (text.size() > kShown ? "..." : "");
}

std::string bytesOfHex(std::string_view hex) {
    std::string bytes;
    for (size_t i = 0; i + 1 < hex.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
    }
    return bytes;
}

const std::string& captured(std::string_view name, const Captures& captures) {
    const auto found = captures.find(name);
    if (found == captures.end()) {
        throw WireError("{{=" + std::string(name) + "}} has not been captured");
    }
    return found->second;
}

/// A form that stands for bytes known beforehand; nothing for the others.
std::optional<std::string> fixedText(std::string_view form, const Captures& captures) {
    if (form.starts_with('=')) return captured(form.substr(1), captures);
    if (form == "length") return captured(form, captures);
    if (form.starts_with(kFill)) {
        return std::string(std::stoul(std::string(form.substr(kFill.size()))), 'x');
    }
    if (form.starts_with(kHex)) return bytesOfHex(form.substr(kHex.size()));
    return std::nullopt;
}

/// The part of a pattern up to the next form, and the form without its braces.
struct Piece {
    std::string_view literal;
    std::optional<std::string_view> form;
};

Piece takePiece(std::string_view& pattern) {
    Piece piece;
    const size_t open = pattern.find("{{");
    const size_t close = open == std::string_view::npos ? open : pattern.find("}}", open);
    piece.literal = pattern.substr(0, close == std::string_view::npos ? close : open);
    if (close == std::string_view::npos) {
        pattern = {};
    } else {
        piece.form = pattern.substr(open + 2, close - open - 2);
        pattern.remove_prefix(close + 2);
    }
    return piece;
}

/// The length of a time stamp that the text begins with, or 0.
size_t lengthOfStamp(std::string_view text) {
    constexpr std::string_view kShape = "0000-00-00T00:00:00.000Z";
    const auto fits = [](char c, char shape) {
        return shape == '0' ? c >= '0' && c <= '9' : c == shape;
    };
    return std::ranges::equal(text.substr(0, kShape.size()), kShape, fits) ? kShape.size() : 0;
}

class Matcher {
  public:
    Matcher(std::string_view pattern, std::string_view actual, Captures& captures)
        : pattern_(pattern), rest_(actual), whole_(actual), captures_(captures) {}

    std::optional<std::string> run() {
        while (!pattern_.empty()) {
            const Piece piece = takePiece(pattern_);
            if (auto problem = literal(piece.literal)) return problem;
            if (!piece.form) continue;
            if (auto problem = form(*piece.form)) return problem;
        }
        if (!rest_.empty()) return difference("the end");
        return std::nullopt;
    }

  private:
    std::string difference(std::string_view expected) const {
        return "at byte " + std::to_string(whole_.size() - rest_.size()) +
               "\n  expected: " + shown(expected) +
               "\n  actual:   " + (rest_.empty() ? "the end" : shown(rest_));
    }

    std::optional<std::string> literal(std::string_view text) {
        const auto [inText, inRest] = std::ranges::mismatch(text, rest_);
        const auto same = static_cast<size_t>(inText - text.begin());
        rest_.remove_prefix(same);
        if (same == text.size()) return std::nullopt;
        return difference(text.substr(same));
    }

    std::optional<std::string> form(std::string_view form) {
        if (const auto fixed = fixedText(form, captures_)) return literal(*fixed);
        std::string name;
        if (const size_t equals = form.find('='); equals != std::string_view::npos) {
            name = form.substr(0, equals);
            form.remove_prefix(equals + 1);
        }
        size_t length = 0;
        if (form == "stamp" || form.starts_with(kLater)) {
            length = lengthOfStamp(rest_);
            const std::string before =
                form == "stamp" ? "" : captured(form.substr(kLater.size()), captures_);
            if (rest_.substr(0, length) <= before) return difference("a stamp after " + before);
        } else if (form == "*" || form == "**") {
            const auto found = lengthOfAny(form == "**");
            if (!found) return difference("any text, then what follows it in the pattern");
            length = *found;
        } else {
            throw WireError("unknown form {{" + std::string(form) + "}}");
        }
        if (!name.empty()) captures_[name] = rest_.substr(0, length);
        rest_.remove_prefix(length);
        return std::nullopt;
    }

    /// Any text ends at the first place where what stands next in the pattern matches.
    std::optional<size_t> lengthOfAny(bool overLines) {
        const size_t lineEnd = overLines ? rest_.size() : std::min(rest_.find('\r'), rest_.size());
        std::string_view ahead = pattern_;
        const Piece next = takePiece(ahead);
        if (next.literal.empty()) return lineEnd;
        const size_t found = rest_.find(next.literal);
        if (found == std::string_view::npos || found > lineEnd) return std::nullopt;
        return found;
    }

    std::string_view pattern_;
    std::string_view rest_;
    std::string_view whole_;
    Captures& captures_;
};

}  // namespace

std::string substitute(std::string_view text, const Captures& captures) {
    std::string out;
    while (!text.empty()) {
        const Piece piece = takePiece(text);
        out += piece.literal;
        if (!piece.form) continue;
        const auto fixed = fixedText(*piece.form, captures);
        if (!fixed) throw WireError("a request cannot hold {{" + std::string(*piece.form) + "}}");
        out += *fixed;
    }
    return out;
}

std::optional<std::string> firstDifference(std::string_view pattern, std::string_view actual,
                                           Captures& captures) {
    return Matcher(pattern, actual, captures).run();
}

}  // namespace wire
