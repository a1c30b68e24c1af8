#include "groupware/ical/TextEdit.h"

#include <algorithm>
#include <array>
#include <cstdio>
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

std::string_view lineEndOf(std::string_view text, const ContentLine& line) {
    return text.substr(line.begin, line.end - line.begin).ends_with("\r\n") ? "\r\n" : "\n";
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
            insertAt_ = {line.end, std::string(lineEndOf(text_, line)), edits_.size()};
            return;
        }
        if (step == Step::kEnd) return insertMissing(settings);
        // The version has its place at the top of a vCard.
        if (line.is("VERSION")) insertAt_ = {line.end, insertAt_.lineEnd, edits_.size()};
        for (Setting& each : settings) {
            if (!line.is(each.name)) continue;
            const std::string bytes = foldedLine(each.line, lineEndOf(text_, line));
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

/// The line's head with its PARTSTAT set.
std::string withPartstat(const ContentLine& line, std::string_view participation) {
    std::string head(line.name);
    std::string_view rest = line.parameters;
    std::string_view name;
    std::string_view value;
    while (cutParameter(rest, name, value)) {
        if (equalNames(name, "PARTSTAT")) continue;
        head.append(";").append(name).append(name.empty() ? "" : "=").append(value);
    }
    return head.append(";PARTSTAT=").append(participation);
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
        edits.push_back({line.begin, line.end, foldedLine(whole, lineEndOf(text, line))});
    }
    return applied(text, edits);
}

}  // namespace groupware
