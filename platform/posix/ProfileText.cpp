#include "platform/posix/ProfileText.h"

#include <algorithm>

namespace platform {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

struct Line {
    enum class Kind { kOther, kSection, kEntry };
    Kind kind = Kind::kOther;
    std::string_view name;
    std::string_view value;
};

constexpr bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

bool isQuoted(std::string_view value) {
    return value.size() >= 2 && value.front() == value.back() &&
           (value.front() == '"' || value.front() == '\'');
}

/// Cuts the first line off the text, its line end included.
std::string_view takeLine(std::string_view& text) {
    const size_t end = std::min(text.find('\n'), text.size() - 1);
    const std::string_view line = text.substr(0, end + 1);
    text.remove_prefix(line.size());
    return line;
}

Line classify(std::string_view raw) {
    const std::string_view line = trimmed(raw);
    if (line.empty() || line.front() == ';') return {};
    if (line.front() == '[') {
        // The last bracket closes, as names of sections hold address literals. Without one the
        // line still opens a section: its keys must not fall to the section before.
        const size_t close = std::min(line.rfind(']'), line.size());
        return {Line::Kind::kSection, trimmed(line.substr(1, close - 1)), {}};
    }
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos || equals == 0) return {};
    std::string_view value = trimmed(line.substr(equals + 1));
    if (isQuoted(value)) value = value.substr(1, value.size() - 2);
    return {Line::Kind::kEntry, trimmed(line.substr(0, equals)), value};
}

/// Follows the lines of a text and tells which of them stand in the section that is looked for.
class SectionWalk {
  public:
    explicit SectionWalk(std::string_view section) : section_(trimmed(section)) {}

    void step(const Line& line) {
        if (line.kind != Line::Kind::kSection) return;
        inside_ = !seen_ && equalIgnoringCase(line.name, section_);
        seen_ = seen_ || inside_;
    }
    bool inside() const { return inside_; }
    bool seen() const { return seen_; }

  private:
    std::string_view section_;
    bool inside_ = false;
    bool seen_ = false;
};

bool isEntryOf(const Line& line, std::string_view key) {
    return line.kind == Line::Kind::kEntry && equalIgnoringCase(line.name, trimmed(key));
}

/// The value so that reading, which drops blanks and one pair of quotes, gives it back.
std::string written(std::string_view value) {
    const bool needsQuotes = isQuoted(value) || trimmed(value).size() != value.size();
    return needsQuotes ? '"' + std::string(value) + '"' : std::string(value);
}

std::string_view lineEndOf(std::string_view line) {
    return line.substr(line.find_last_not_of("\r\n") + 1);
}

/// The line end that the text uses already.
std::string_view usedLineEnd(std::string_view text) {
    const size_t end = text.find('\n');
    return end != std::string_view::npos && end > 0 && text[end - 1] == '\r' ? "\r\n" : "\n";
}

/// The line with another value; how the key is spelt and set off stays.
std::string withValue(std::string_view line, std::string_view value) {
    const std::string_view lineEnd = lineEndOf(line);
    std::string_view kept = line.substr(0, line.size() - lineEnd.size());
    kept = kept.substr(0, std::min(kept.find_first_not_of(" \t", kept.find('=') + 1), kept.size()));
    return std::string(kept).append(written(value)).append(lineEnd);
}

std::string_view takeByteOrderMark(std::string_view& text) {
    if (!text.starts_with(kByteOrderMark)) return {};
    text.remove_prefix(kByteOrderMark.size());
    return kByteOrderMark;
}

}  // namespace

ProfileText::ProfileText(std::string text) : text_(std::move(text)) {
    std::string_view rest = text_;
    takeByteOrderMark(rest);
    Entries* entries = nullptr;
    while (!rest.empty()) {
        const Line line = classify(takeLine(rest));
        if (line.kind == Line::Kind::kSection) {
            const auto [place, isFirst] = sections_.try_emplace(line.name);
            entries = isFirst ? &place->second : nullptr;
        } else if (line.kind == Line::Kind::kEntry && entries != nullptr) {
            entries->try_emplace(line.name, line.value);
        }
    }
}

std::optional<std::string_view> ProfileText::find(std::string_view section,
                                                  std::string_view key) const {
    const auto entries = sections_.find(trimmed(section));
    if (entries == sections_.end()) return std::nullopt;
    const auto entry = entries->second.find(trimmed(key));
    if (entry == entries->second.end()) return std::nullopt;
    return entry->second;
}

bool isProfileEntry(std::string_view section, std::string_view key, std::string_view value) {
    constexpr std::string_view kLineBreakers("\r\n\0", 3);
    for (const std::string_view part : {section, key, value}) {
        if (part.find_first_of(kLineBreakers) != std::string_view::npos) return false;
    }
    const std::string_view name = trimmed(key);
    return !name.empty() && name.front() != ';' && name.front() != '[' &&
           name.find('=') == std::string_view::npos;
}

std::string withProfileValue(std::string_view text, std::string_view section, std::string_view key,
                             std::string_view value) {
    const std::string_view lineEnd = usedLineEnd(text);
    std::string result(takeByteOrderMark(text));
    SectionWalk walk(section);
    size_t sectionEnd = 0;  // behind its last line that is not empty
    while (!text.empty()) {
        const std::string_view raw = takeLine(text);
        const Line line = classify(raw);
        walk.step(line);
        if (walk.inside() && isEntryOf(line, key)) {
            return result.append(withValue(raw, value)).append(text);
        }
        result.append(raw);
        if (walk.inside() && !trimmed(raw).empty()) sectionEnd = result.size();
    }
    std::string entry = std::string(trimmed(key)).append("=").append(written(value));
    const bool lacksLineEnd = !result.empty() && result.back() != '\n';
    if (walk.seen() && sectionEnd < result.size()) {
        return result.insert(sectionEnd, entry.append(lineEnd));
    }
    if (lacksLineEnd) result.append(lineEnd);
    if (!walk.seen()) {
        if (!trimmed(result).empty()) result.append(lineEnd);
        result.append("[").append(trimmed(section)).append("]").append(lineEnd);
    }
    return result.append(entry).append(lineEnd);
}

std::string withoutProfileKey(std::string_view text, std::string_view section,
                              std::string_view key) {
    std::string result(takeByteOrderMark(text));
    SectionWalk walk(section);
    while (!text.empty()) {
        const std::string_view raw = takeLine(text);
        const Line line = classify(raw);
        walk.step(line);
        if (!walk.inside() || !isEntryOf(line, key)) result.append(raw);
    }
    return result;
}

}  // namespace platform
