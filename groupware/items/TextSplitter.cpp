#include "groupware/items/TextSplitter.h"

#include <unordered_set>

#include "groupware/ical/AsciiText.h"
#include "groupware/ical/CalendarObject.h"
#include "groupware/ical/ContentLines.h"

namespace groupware {

namespace {

using Step = ComponentReader::Step;

constexpr std::string_view kVersion = "VERSION:2.0\r\n";
constexpr std::string_view kProduct = "PRODID:-//Corvane//CVWebDAV//EN\r\n";

}  // namespace

void appendLines(std::string& text, std::string_view lines) {
    if (lineEndIn(lines) == '\r') {
        while (!lines.empty()) text.append(cutFirst(lines, '\r')).append("\r\n");
        return;
    }
    text.append(lines);
    if (!lines.ends_with('\n')) text.append("\r\n");
}

/// One pass over the text.
class TextSplitter::Reading {
  public:
    Reading(TextSplitter& splitter, std::string_view text) : splitter_(splitter), text_(text) {}

    bool run() {
        ComponentReader reader(text_);
        for (;;) {
            const Step step = reader.next();
            if (step == Step::kFinished) return true;
            if (step == Step::kProblem) return fail(reader.problem());
            if (contacts()) {
                if (reader.component(0) != "VCARD") return fail("this is no VCARD");
                readPart(step, reader, 1);
                continue;
            }
            if (reader.component(0) != "VCALENDAR") return fail("this is no VCALENDAR");
            if (reader.depth() == 1) {
                readCalendar(step, reader.line());
            } else if (reader.component(1) == "VTIMEZONE") {
                readZone(step, reader);
            } else if (reader.component(1) == componentName(splitter_.kind_)) {
                readPart(step, reader, 2);
            } else {
                splitter_.holdsOthers_ = true;
            }
        }
    }

  private:
    bool contacts() const { return splitter_.kind_ == ItemKind::kContact; }
    bool fail(const std::string& problem) {
        splitter_.items_.clear();
        splitter_.problem_ = problem;
        return false;
    }
    std::string_view bytes(size_t begin, const ContentLine& last) const {
        return text_.substr(begin, last.end - begin);
    }

    void readCalendar(Step step, const ContentLine& line) {
        if (step == Step::kBegin) splitter_.calendars_.emplace_back();
        if (step != Step::kProperty) return;
        const bool kept = line.is("VERSION") || line.is("PRODID") || line.is("CALSCALE");
        if (kept) appendLines(splitter_.calendars_.back().header, bytes(line.begin, line));
    }

    void readZone(Step step, const ComponentReader& reader) {
        if (reader.depth() != 2) return;
        const ContentLine& line = reader.line();
        if (step == Step::kBegin) {
            begin_ = line.begin;
            zone_.clear();
        } else if (step == Step::kEnd) {
            splitter_.calendars_.back().zones.emplace(zone_, bytes(begin_, line));
        } else if (line.is("TZID")) {
            zone_ = unescaped(trimmed(line.value));
        }
    }

    void readPart(Step step, const ComponentReader& reader, size_t level) {
        const ContentLine& line = reader.line();
        if (step == Step::kBegin && reader.depth() == level) {
            begin_ = line.begin;
            uid_.clear();
            part_ = {};
            named_.clear();
            part_.calendar = splitter_.calendars_.size() - (contacts() ? 0 : 1);
        } else if (step == Step::kEnd && reader.depth() == level) {
            part_.bytes = bytes(begin_, line);
            place();
        } else if (step == Step::kProperty) {
            if (reader.depth() == level && line.is("UID")) uid_ = trimmed(line.value);
            const auto zone = line.parameter("TZID");
            if (zone && named_.emplace(*zone).second) part_.zones.emplace_back(*zone);
        }
    }

    /// Puts the part to the others of its UID.
    void place() {
        auto& items = splitter_.items_;
        size_t index = items.size();
        if (!uid_.empty()) index = byUid_.try_emplace(uid_, index).first->second;
        // Two vCards of one UID are two items: they cannot stand in one text.
        if (index == items.size() || contacts()) {
            items.emplace_back();
            index = items.size() - 1;
        }
        items[index].push_back(std::move(part_));
    }

    TextSplitter& splitter_;
    std::string_view text_;
    size_t begin_ = 0;
    std::string uid_;
    std::string zone_;  ///< the name of the VTIMEZONE
    Part part_;
    std::unordered_set<std::string> named_;  ///< the part's zones
    std::unordered_map<std::string, size_t> byUid_;
};

TextSplitter::TextSplitter(ItemKind kind, std::string_view text) : kind_(kind), whole_(text) {
    Reading(*this, text).run();
}

std::string TextSplitter::text(size_t index) const {
    const bool alone = items_.size() == 1 && calendars_.size() <= 1 && !holdsOthers_;
    if (alone) return std::string(whole_);
    return kind_ == ItemKind::kContact ? components(index) : wrapped(items_[index]);
}

std::string TextSplitter::components(size_t index) const {
    std::string text;
    for (const Part& part : items_[index]) appendLines(text, part.bytes);
    return text;
}

std::string TextSplitter::wrapped(const std::vector<Part>& parts) const {
    const std::string& header = calendars_[parts.front().calendar].header;
    std::string text = "BEGIN:VCALENDAR\r\n";
    text.append(header.empty() ? std::string(kVersion).append(kProduct) : header);
    std::unordered_set<std::string_view> written;
    for (const Part& part : parts) {
        const auto& zones = calendars_[part.calendar].zones;
        for (const std::string& name : part.zones) {
            const auto used = zones.find(name);
            if (used == zones.end() || !written.insert(name).second) continue;
            appendLines(text, used->second);
        }
    }
    for (const Part& part : parts) appendLines(text, part.bytes);
    return text.append("END:VCALENDAR\r\n");
}

}  // namespace groupware
