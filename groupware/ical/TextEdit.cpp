#include "groupware/ical/TextEdit.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "groupware/ical/AsciiText.h"
#include "groupware/ical/CalendarObject.h"
#include "groupware/ical/ContentLines.h"

namespace groupware {

namespace {

using Step = ComponentReader::Step;

/// Bytes that take the place of others; edits are made in the order of the text.
struct Edit {
    size_t begin = 0;
    size_t end = 0;
    std::string bytes;
};

std::string applied(std::string_view text, const std::vector<Edit>& edits) {
    std::string result;
    result.reserve(text.size() + 256);
    size_t position = 0;
    for (const Edit& edit : edits) {
        result.append(text.substr(position, edit.begin - position)).append(edit.bytes);
        position = edit.end;
    }
    return result.append(text.substr(position));
}

/// The length of the UTF-8 character that the text begins with, or 0 when it is none.
size_t characterLength(std::string_view text) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(0);
    if (first < 0x80) return 1;
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80U) return 0;
    }
    // Longer forms than needed, halves of pairs and what lies beyond the last plane are none.
    const bool none = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) > 0x9F) ||
                      (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) > 0x8F);
    return none ? 0 : length;
}

/// How many bytes at the front are ASCII, in whole words: most texts are nothing else.
size_t asciiWords(std::string_view text) {
    size_t length = 0;
    for (uint64_t word = 0; length + sizeof word <= text.size(); length += sizeof word) {
        std::memcpy(&word, text.data() + length, sizeof word);
        if ((word & 0x8080808080808080U) != 0) break;
    }
    return length;
}

std::string unfolded(std::string_view lines) {
    const char lineEnd = lineEndIn(lines);
    std::string whole;
    while (!lines.empty()) {
        const size_t last = std::min(lines.find(lineEnd), lines.size() - 1);
        std::string_view part = lines.substr(0, last + 1);
        lines.remove_prefix(part.size());
        while (part.ends_with('\n') || part.ends_with('\r')) part.remove_suffix(1);
        whole.append(part);
        if (!lines.empty()) lines.remove_prefix(1);
    }
    return whole;
}

/// A property to set: the line that is there is replaced, a missing one put first.
struct Setting {
    std::string_view name;
    std::string line;
    bool done = false;
};

/// Sets properties in the components that are chosen by name and index among that name's.
class PropertySetter {
  public:
    PropertySetter(std::string_view text, std::string_view component, size_t level)
        : text_(text), component_(component), level_(level) {}

    std::string run(std::vector<Setting> settings, size_t onlyIndex) {
        size_t index = 0;
        ComponentReader reader(text_);
        for (Step step = reader.next(); step != Step::kFinished && step != Step::kProblem;
             step = reader.next()) {
            if (reader.depth() != level_ || reader.component(level_ - 1) != component_) continue;
            if (onlyIndex == kEvery || index == onlyIndex) visit(step, reader.line(), settings);
            if (step == Step::kEnd) ++index;
        }
        return applied(text_, edits_);
    }

    static constexpr size_t kEvery = SIZE_MAX;

  private:
    void visit(Step step, const ContentLine& line, std::vector<Setting>& settings) {
        if (step == Step::kBegin) {
            for (Setting& each : settings) each.done = false;
            insertAt_ = {line.end, std::string(lineBreakOf(text_, line)), edits_.size()};
            return;
        }
        if (step == Step::kEnd) return insertMissing(settings);
        // The version has its place at the top of a vCard.
        if (line.is("VERSION")) insertAt_ = {line.end, insertAt_.lineEnd, edits_.size()};
        for (Setting& each : settings) {
            if (!line.is(each.name)) continue;
            const std::string bytes = foldedLine(each.line, lineBreakOf(text_, line));
            edits_.push_back({line.begin, line.end, each.done ? std::string() : bytes});
            each.done = true;
        }
    }
    void insertMissing(const std::vector<Setting>& settings) {
        Edit edit{insertAt_.offset, insertAt_.offset, {}};
        for (const Setting& each : settings) {
            if (!each.done) edit.bytes += foldedLine(each.line, insertAt_.lineEnd);
        }
        if (edit.bytes.empty()) return;
        edits_.insert(edits_.begin() + static_cast<std::ptrdiff_t>(insertAt_.edits), edit);
    }

    struct Place {
        size_t offset = 0;
        std::string lineEnd;
        size_t edits = 0;  ///< how many edits stand before it
    };

    std::string_view text_;
    std::string_view component_;
    size_t level_;
    std::vector<Edit> edits_;
    Place insertAt_;
};

/// The line's head with its PARTSTAT set, in its place when there is one.
std::string withPartstat(const ContentLine& line, std::string_view participation) {
    std::string head(line.name);
    std::string_view rest = line.parameters;
    std::string_view name;
    std::string_view value;
    bool set = false;
    while (cutParameter(rest, name, value)) {
        if (equalNames(name, "PARTSTAT")) {
            value = participation;
            set = true;
        }
        head.append(";").append(name).append(name.empty() ? "" : "=").append(value);
    }
    return set ? head : head.append(";PARTSTAT=").append(participation);
}

}  // namespace

std::string foldedLine(std::string_view line, std::string_view lineEnd) {
    constexpr size_t kLongestLine = 75;
    std::string folded;
    for (size_t room = kLongestLine; line.size() > room; room = kLongestLine - 1) {
        size_t cut = room;
        while (cut > 1 && (static_cast<unsigned char>(line[cut]) & 0xC0U) == 0x80U) --cut;
        folded.append(line.substr(0, cut)).append(lineEnd).append(" ");
        line.remove_prefix(cut);
    }
    return folded.append(line).append(lineEnd);
}

bool hasWholeCharacters(std::string_view text) {
    for (;;) {
        text.remove_prefix(asciiWords(text));
        if (text.empty()) return true;
        const size_t length = characterLength(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
}

std::string withWholeCharacters(std::string text) {
    if (hasWholeCharacters(text)) return text;
    std::vector<Edit> edits;
    LineReader reader(text);
    while (reader.next()) {
        const ContentLine& line = reader.line();
        const std::string_view bytes =
            std::string_view(text).substr(line.begin, line.end - line.begin);
        if (hasWholeCharacters(bytes)) continue;
        const std::string whole = unfolded(bytes);
        if (!hasWholeCharacters(whole)) continue;
        edits.push_back({line.begin, line.end, foldedLine(whole, lineBreakOf(text, line))});
    }
    return applied(text, edits);
}

std::string withUid(ItemKind kind, std::string_view text, std::string_view uid) {
    const bool contact = kind == ItemKind::kContact;
    PropertySetter setter(text, contact ? "VCARD" : componentName(kind), contact ? 1 : 2);
    return setter.run({{"UID", "UID:" + std::string(uid)}}, PropertySetter::kEvery);
}

std::string withCompletion(std::string_view text, size_t index, const platform::DateTime& when) {
    std::array<char, 64> time{};
    std::snprintf(time.data(), time.size(), "COMPLETED:%04u%02u%02uT%02u%02u%02uZ", when.year,
                  when.month, when.day, when.hour, when.minute, when.second);
    PropertySetter setter(text, componentName(ItemKind::kTask), 2);
    return setter.run({{"STATUS", "STATUS:COMPLETED"},
                       {"PERCENT-COMPLETE", "PERCENT-COMPLETE:100"},
                       {"COMPLETED", time.data()}},
                      index);
}

std::string withParticipation(std::string_view text, size_t index, std::string_view address,
                              std::string_view participation) {
    std::vector<Edit> edits;
    size_t events = 0;
    ComponentReader reader(text);
    for (Step step = reader.next(); step != Step::kFinished && step != Step::kProblem;
         step = reader.next()) {
        if (reader.depth() != 2 || reader.component(1) != "VEVENT") continue;
        if (step == Step::kEnd) ++events;
        const ContentLine& line = reader.line();
        if (step != Step::kProperty || events != index || !line.is("ATTENDEE")) continue;
        if (!equalNames(addressOf(line), address)) continue;
        const std::string whole = withPartstat(line, participation).append(":").append(line.value);
        edits.push_back({line.begin, line.end, foldedLine(whole, lineBreakOf(text, line))});
    }
    return applied(text, edits);
}

}  // namespace groupware
