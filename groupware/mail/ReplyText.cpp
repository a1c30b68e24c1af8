#include "groupware/mail/ReplyText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <set>
#include <vector>

#include "abi/StoreTypes.h"
#include "groupware/ical/AsciiText.h"
#include "groupware/ical/CalendarObject.h"
#include "groupware/ical/ContentLines.h"
#include "groupware/ical/TextEdit.h"
#include "groupware/items/ItemText.h"

namespace groupware {

namespace {

using Step = ComponentReader::Step;
using Names = std::set<std::string, std::less<>>;

constexpr std::string_view kLineEnd = "\r\n";

/// What an answer repeats of the event.
constexpr std::array<std::string_view, 8> kRepeated = {
    "UID", "SEQUENCE", "RECURRENCE-ID", "DTSTART", "DTEND", "DURATION", "SUMMARY", "ORGANIZER"};

/// Parameters that are set anew, or that are between a client and its own server.
constexpr std::array<std::string_view, 6> kDropped = {
    "PARTSTAT", "RSVP", "SENT-BY", "SCHEDULE-AGENT", "SCHEDULE-STATUS", "SCHEDULE-FORCE-SEND"};

template <size_t size>
bool isOneOf(std::string_view name, const std::array<std::string_view, size>& names) {
    return std::ranges::any_of(names, [&](auto each) { return equalNames(each, name); });
}

std::string_view nameOf(uint16_t status) {
    constexpr std::array<std::string_view, 4> kAnswers = {"", "ACCEPTED", "TENTATIVE", "DECLINED"};
    return status < kAnswers.size() ? kAnswers[status] : "";
}

/// What the attendee has answered in a component; empty when it has not.
std::string_view answerIn(const CalendarComponent& component, std::string_view attendee) {
    const auto found = std::ranges::find_if(component.attendees, [&](const CalendarUser& user) {
        return equalNames(user.address, attendee);
    });
    return found == component.attendees.end() ? "" : nameOf(found->status);
}

std::string withoutDropped(const ContentLine& line) {
    std::string head(line.name);
    std::string_view rest = line.parameters;
    std::string_view name;
    std::string_view value;
    while (cutParameter(rest, name, value)) {
        if (isOneOf(name, kDropped)) continue;
        head.append(";").append(name).append(name.empty() ? "" : "=").append(value);
    }
    return head;
}

/// A text value for people: without escapes and control characters.
std::string shownText(std::string_view value) {
    std::string text = unescaped(value);
    std::ranges::replace_if(
        text, [](char c) { return (c >= 0 && c < ' ') || c == '\x7f'; }, ' ');
    return std::string(trimmed(text));
}

std::string shownTime(const IcalTime& time) {
    const platform::DateTime at = dateTimeFromWall(time.wall);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(),
                  time.isDate() ? "%04u-%02u-%02u" : "%04u-%02u-%02u %02u:%02u", unsigned{at.year},
                  unsigned{at.month}, unsigned{at.day}, unsigned{at.hour}, unsigned{at.minute});
    std::string shown = text.data();
    if (time.kind == IcalTime::Kind::kUtc) shown += " UTC";
    if (time.kind == IcalTime::Kind::kZoned) shown += " (" + shownText(time.zone) + ")";
    return shown;
}

/// One pass over the event's text.
class ReplyWriter {
  public:
    ReplyWriter(const CalendarObject& event, const ReplyFacts& facts)
        : event_(event), facts_(facts), leading_(leadingComponent(event)) {}

    /// False when there is nothing to answer.
    bool read(std::string_view text) {
        ComponentReader reader(text);
        for (Step step = reader.next(); step != Step::kFinished; step = reader.next()) {
            if (step == Step::kProblem) return false;
            if (reader.depth() < 2) continue;
            const ContentLine& line = reader.line();
            if (reader.component(1) == "VTIMEZONE") {
                readZone(step, reader.depth(), line);
            } else if (reader.component(1) == "VEVENT" && reader.depth() == 2) {
                readEvent(step, line);
            }
        }
        return !events_.empty();
    }

    std::string text() const {
        std::string whole =
            "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Corvane//CVWebDAV//EN\r\n"
            "METHOD:REPLY\r\n";
        for (const std::string& name : named_) {
            const auto zone = zones_.find(name);
            if (zone != zones_.end()) whole += zone->second;
        }
        return whole + events_ + "END:VCALENDAR\r\n";
    }

    std::string summary;

  private:
    void readZone(Step step, size_t depth, const ContentLine& line) {
        if (step == Step::kBegin && depth == 2) zone_.clear();
        zone_ += foldedLine(wholeLine(line), kLineEnd);
        if (depth != 2) return;
        if (step == Step::kProperty && line.is("TZID")) zoneName_ = unescaped(trimmed(line.value));
        if (step == Step::kEnd) zones_.emplace(zoneName_, zone_);
    }

    void readEvent(Step step, const ContentLine& line) {
        if (step == Step::kBegin) {
            lines_.clear();
            lineZones_.clear();
            answer_ = index_ == leading_ ? facts_.participation
                                         : answerIn(event_.components()[index_], facts_.attendee);
            answered_ = false;
        } else if (step == Step::kProperty) {
            readProperty(line);
        } else {
            finishEvent();
            ++index_;
        }
    }

    void readProperty(const ContentLine& line) {
        if (line.is("ATTENDEE")) {
            if (answered_ || !equalNames(addressOf(line), facts_.attendee)) return;
            answered_ = true;
            std::string head = withoutDropped(line).append(";PARTSTAT=").append(answer_);
            if (!facts_.sentBy.empty()) {
                head.append(";SENT-BY=\"mailto:").append(facts_.sentBy).append("\"");
            }
            add(head.append(":").append(line.value));
        } else if (line.group.empty() && isOneOf(line.name, kRepeated)) {
            add(withoutDropped(line).append(":").append(line.value));
            if (const auto zone = line.parameter("TZID")) lineZones_.emplace(*zone);
            if (index_ == leading_ && line.is("SUMMARY")) summary = shownText(line.value);
        }
    }

    void finishEvent() {
        if (!answered_ || answer_.empty()) return;
        events_ += "BEGIN:VEVENT\r\n" + lines_;
        events_ += "DTSTAMP:" + utcText(facts_.nowMs) + "\r\n";
        events_ += "REQUEST-STATUS:2.0;Success\r\nEND:VEVENT\r\n";
        named_.merge(lineZones_);
    }

    void add(const std::string& line) { lines_ += foldedLine(line, kLineEnd); }

    const CalendarObject& event_;
    const ReplyFacts& facts_;
    const size_t leading_;
    size_t index_ = 0;
    std::string lines_;  ///< of the event that is being read
    Names lineZones_;
    std::string_view answer_;
    bool answered_ = false;  ///< its attendee has been found
    std::string events_;
    Names named_;  ///< zones that the answer names
    std::string zone_;
    std::string zoneName_;
    std::map<std::string, std::string, std::less<>> zones_;
};

}  // namespace

std::optional<ReplyText> replyText(std::string_view event, const ReplyFacts& facts) {
    std::string problem;
    const auto object = CalendarObject::parse(ItemKind::kEvent, event, problem);
    if (!object) return std::nullopt;
    ReplyWriter writer(*object, facts);
    if (!writer.read(event)) return std::nullopt;
    const CalendarComponent& leading = object->components()[leadingComponent(*object)];
    return ReplyText{writer.text(), writer.summary, shownTime(*leading.start)};
}

}  // namespace groupware
