#include "groupware/items/TextSplitter.h"

#include <algorithm>
#include <unordered_map>

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
        auto& zones = splitter_.calendars_.back().zones;
        if (step == Step::kBegin) {
            begin_ = line.begin;
            zones.emplace_back();
        } else if (step == Step::kEnd) {
            zones.back().bytes = bytes(begin_, line);
        } else if (line.is("TZID")) {
            zones.back().name = trimmed(line.value);
        }
    }

    void readPart(Step step, const ComponentReader& reader, size_t level) {
        const ContentLine& line = reader.line();
        if (step == Step::kBegin && reader.depth() == level) {
            begin_ = line.begin;
            uid_.clear();
            part_ = {};
            part_.calendar = splitter_.calendars_.size() - (contacts() ? 0 : 1);
        } else if (step == Step::kEnd && reader.depth() == level) {
            part_.bytes = bytes(begin_, line);
            place();
        } else if (step == Step::kProperty) {
            if (reader.depth() == level && line.is("UID")) uid_ = trimmed(line.value);
            const auto zone = line.parameter("TZID");
            if (!zone || std::ranges::find(part_.zones, *zone) != part_.zones.end()) return;
            part_.zones.emplace_back(*zone);
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
    Part part_;
    std::unordered_map<std::string, size_t> byUid_;
};

TextSplitter::TextSplitter(ItemKind kind, std::string_view text) : kind_(kind) {
    Reading(*this, text).run();
}

const TextSplitter::Zone* TextSplitter::zone(const Part& part, const std::string& name) const {
    const auto& zones = calendars_[part.calendar].zones;
    const auto found = std::ranges::find(zones, name, &Zone::name);
    return found == zones.end() ? nullptr : &*found;
}

std::string TextSplitter::text(size_t index) const {
    const std::vector<Part>& parts = items_[index];
    std::string text;
    if (kind_ == ItemKind::kContact) {
        appendLines(text, parts.front().bytes);
        return text;
    }
    const std::string& header = calendars_[parts.front().calendar].header;
    text.append("BEGIN:VCALENDAR\r\n");
    text.append(header.empty() ? std::string(kVersion).append(kProduct) : header);
    std::vector<std::string_view> written;
    for (const Part& part : parts) {
        for (const std::string& name : part.zones) {
            const Zone* used = zone(part, name);
            if (used == nullptr || std::ranges::find(written, name) != written.end()) continue;
            written.push_back(name);
            appendLines(text, used->bytes);
        }
    }
    for (const Part& part : parts) appendLines(text, part.bytes);
    return text.append("END:VCALENDAR\r\n");
}

}  // namespace groupware
