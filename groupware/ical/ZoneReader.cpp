#include "groupware/ical/ZoneReader.h"

#include "groupware/ical/AsciiText.h"

namespace groupware {

namespace {

constexpr size_t kMostObservances = 1'000;
constexpr size_t kMostDates = 1'000;

bool isObservance(std::string_view component) {
    return component == "STANDARD" || component == "DAYLIGHT";
}

}  // namespace

void ZoneReader::read(ComponentReader::Step step, std::string_view component,
                      const ContentLine& line) {
    using Step = ComponentReader::Step;
    if (!isObservance(component)) {
        if (step == Step::kProperty && line.is("TZID")) name_ = unescaped(trimmed(line.value));
        return;
    }
    if (step == Step::kBegin) {
        current_ = {};
        hasStart_ = false;
    } else if (step == Step::kProperty) {
        readObservance(line);
    } else if (hasStart_ && observances_.size() < kMostObservances) {
        observances_.push_back(std::move(current_));
    }
}

void ZoneReader::readObservance(const ContentLine& line) {
    if (line.is("TZOFFSETFROM")) {
        current_.offsetFrom = parseZoneOffset(line.value).value_or(current_.offsetFrom);
    } else if (line.is("TZOFFSETTO")) {
        current_.offsetTo = parseZoneOffset(line.value).value_or(current_.offsetTo);
    } else if (line.is("DTSTART")) {
        const auto start = parseIcalTime(line.value, {});
        hasStart_ = start.has_value();
        if (start) current_.start = start->wall;
    } else if (line.is("RRULE")) {
        current_.rule = RecurrenceRule::parse(line.value);
    } else if (line.is("RDATE")) {
        std::string_view rest = line.value;
        while (!rest.empty() && current_.dates.size() < kMostDates) {
            const auto date = parseIcalTime(cutFirst(rest, ','), {});
            if (date) current_.dates.push_back(date->wall);
        }
    }
}

std::shared_ptr<const TimeZone> ZoneReader::finish() {
    if (observances_.empty()) return nullptr;
    return std::make_shared<const TimeZone>(std::move(observances_));
}

std::shared_ptr<const TimeZone> readTimeZone(std::string_view text) {
    ComponentReader reader(text);
    ZoneReader zone;
    for (;;) {
        const auto step = reader.next();
        if (step == ComponentReader::Step::kProblem) return nullptr;
        if (step == ComponentReader::Step::kFinished) return zone.finish();
        zone.read(step, reader.component(reader.depth() - 1), reader.line());
    }
}

}  // namespace groupware
