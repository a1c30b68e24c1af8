#include "groupware/ical/CalendarObject.h"

#include <algorithm>
#include <array>
#include <set>

#include "abi/StoreTypes.h"
#include "groupware/ical/AsciiText.h"
#include "groupware/ical/ContentLines.h"
#include "groupware/ical/ZoneReader.h"

namespace groupware {

namespace {

constexpr size_t kLongestUid = 1'024;
/// Zones of an item that are looked for by their names; nobody travels through more.
constexpr size_t kMostNamedZones = 64;

using Component = CalendarComponent;

/// What the parameters of a line say of all its times.
struct TimeForm {
    explicit TimeForm(const ContentLine& line)
        : isDay(equalNames(line.parameter("VALUE").value_or(""), "DATE")),
          zone(line.parameter("TZID").value_or("")) {}

    bool isDay;
    std::string zone;
};

std::optional<IcalTime> timeOf(const TimeForm& form, std::string_view value) {
    // Some clients give a day a time of day.
    constexpr size_t kDayLength = 8;
    if (form.isDay) value = trimmed(value).substr(0, kDayLength);
    return parseIcalTime(value, form.zone);
}

/// Keeps the last readable value: an unreadable one says nothing.
void readTime(std::optional<IcalTime>& time, const ContentLine& line) {
    if (auto read = timeOf(TimeForm(line), line.value)) time = std::move(read);
}

void readRule(Component& component, const ContentLine& line) {
    if (auto rule = RecurrenceRule::parse(line.value)) {
        component.rules.push_back(std::move(*rule));
    } else {
        component.unreadableRule = true;
    }
}

void readDates(Component& component, const ContentLine& line) {
    const TimeForm form(line);
    std::string_view rest = line.value;
    while (!rest.empty()) {
        std::string_view end = cutFirst(rest, ',');
        const auto start = timeOf(form, cutFirst(end, '/'));
        if (!start) continue;
        component.dates.push_back({*start, timeOf(form, end), parseIcalDuration(end)});
    }
}

void readExceptions(Component& component, const ContentLine& line) {
    const TimeForm form(line);
    std::string_view rest = line.value;
    while (!rest.empty()) {
        if (auto time = timeOf(form, cutFirst(rest, ','))) {
            component.exceptions.push_back(std::move(*time));
        }
    }
}

uint16_t statusOf(std::string_view participation) {
    constexpr std::array<std::pair<std::string_view, uint16_t>, 4> kStatuses = {{
        {"ACCEPTED", STORE_PARTSTAT_ACCEPTED},
        {"TENTATIVE", STORE_PARTSTAT_TENTATIVE},
        {"DECLINED", STORE_PARTSTAT_DECLINED},
        {"NEEDS-ACTION", STORE_PARTSTAT_NEEDS_ACTION},
    }};
    for (const auto& [name, status] : kStatuses) {
        if (equalNames(name, participation)) return status;
    }
    return STORE_PARTSTAT_NONE;
}

CalendarUser userOf(const ContentLine& line) {
    CalendarUser user;
    user.address = addressOf(line);
    user.status = statusOf(line.parameter("PARTSTAT").value_or(""));
    const std::string_view agent = line.parameter("SCHEDULE-AGENT").value_or("");
    user.serverSends = !equalNames(agent, "CLIENT") && !equalNames(agent, "NONE");
    return user;
}

struct Property {
    std::string_view name;
    void (*read)(Component&, const ContentLine&);
};

constexpr std::array kProperties = {
    Property{"UID", [](Component& c, const ContentLine& l) { c.uid = trimmed(l.value); }},
    Property{"DTSTART", [](Component& c, const ContentLine& l) { readTime(c.start, l); }},
    Property{"DTEND", [](Component& c, const ContentLine& l) { readTime(c.end, l); }},
    Property{"DUE", [](Component& c, const ContentLine& l) { readTime(c.end, l); }},
    Property{"DURATION",
             [](Component& c, const ContentLine& l) { c.duration = parseIcalDuration(l.value); }},
    Property{"RECURRENCE-ID",
             [](Component& c, const ContentLine& l) {
                 readTime(c.recurrenceId, l);
                 c.thisAndFuture = equalNames(l.parameter("RANGE").value_or(""), "THISANDFUTURE");
             }},
    Property{"RRULE", readRule},
    Property{"EXRULE",
             [](Component& c, const ContentLine& l) {
                 // One that cannot be read leaves out nothing: too much rather than too little.
                 if (auto rule = RecurrenceRule::parse(l.value)) c.exclusions.push_back(*rule);
             }},
    Property{"RDATE", readDates},
    Property{"EXDATE", readExceptions},
    Property{"STATUS",
             [](Component& c, const ContentLine& l) { c.status = upperName(trimmed(l.value)); }},
    Property{"TRANSP",
             [](Component& c, const ContentLine& l) {
                 c.transparent = equalNames(trimmed(l.value), "TRANSPARENT");
             }},
    Property{"ORGANIZER", [](Component& c, const ContentLine& l) { c.organizer = userOf(l); }},
    Property{"ATTENDEE",
             [](Component& c, const ContentLine& l) { c.attendees.push_back(userOf(l)); }},
};

void readProperty(Component& component, const ContentLine& line) {
    const auto property =
        std::ranges::find_if(kProperties, [&](const Property& each) { return line.is(each.name); });
    if (property != kProperties.end()) property->read(component, line);
}

/// Why the components are no item, or nothing.
std::string problemOf(ItemKind kind, const std::vector<Component>& components) {
    const std::string name(componentName(kind));
    if (components.empty()) return "there is no " + name + " in the text";
    for (const Component& component : components) {
        if (component.uid != components.front().uid) return "the text holds more than one UID";
        if (!isGoodUid(component.uid)) return "a UID is too long or holds control characters";
        if (kind != ItemKind::kEvent) continue;
        if (component.uid.empty()) return name + " without UID";
        if (!component.start) return name + " without a readable DTSTART";
    }
    return {};
}

}  // namespace

std::string_view componentName(ItemKind kind) {
    if (kind == ItemKind::kContact) return {};
    return kind == ItemKind::kEvent ? "VEVENT" : "VTODO";
}

bool isGoodUid(std::string_view uid) {
    return uid.size() <= kLongestUid &&
           std::ranges::none_of(uid, [](char c) { return (c >= 0 && c < ' ') || c == '\x7f'; });
}

std::string_view addressOf(const ContentLine& line) {
    const std::string_view value = trimmed(line.value);
    if (startsWithName(value, "mailto:")) return value.substr(7);
    return line.parameter("EMAIL").value_or(value);
}

std::optional<CalendarObject> CalendarObject::parse(ItemKind kind, std::string_view text,
                                                    std::string& problem) {
    using Step = ComponentReader::Step;
    CalendarObject object;
    ComponentReader reader(text);
    std::optional<ZoneReader> zone;
    std::set<std::string, std::less<>> named;
    for (;;) {
        const Step step = reader.next();
        if (step == Step::kFinished) break;
        if (step == Step::kProblem || reader.component(0) != "VCALENDAR") {
            problem = step == Step::kProblem ? reader.problem() : "this is no VCALENDAR";
            return std::nullopt;
        }
        if (reader.depth() < 2) continue;
        const std::string& outer = reader.component(1);
        if (outer == "VTIMEZONE") {
            const bool itself = reader.depth() == 2;
            if (itself && step == Step::kBegin) zone.emplace();
            zone->read(step, reader.component(reader.depth() - 1), reader.line());
            if (itself && step == Step::kEnd) object.zones_.emplace(zone->name(), zone->finish());
        } else if (outer == componentName(kind) && reader.depth() == 2) {
            if (step == Step::kBegin) object.components_.emplace_back();
            if (step != Step::kProperty) continue;
            readProperty(object.components_.back(), reader.line());
            const auto name = reader.line().parameter("TZID");
            if (name && named.size() < kMostNamedZones) named.emplace(*name);
        }
    }
    problem = problemOf(kind, object.components_);
    if (!problem.empty()) return std::nullopt;
    for (const std::string& name : named) object.zones_.emplace(name, nullptr);
    return object;
}

const CalendarComponent* CalendarObject::master() const {
    const auto found = std::ranges::find_if(
        components_, [](const Component& each) { return !each.recurrenceId.has_value(); });
    return found == components_.end() ? nullptr : &*found;
}

WallClock CalendarObject::clockOf(const IcalTime& time, StepBudget& budget) const {
    static const auto kUtc = std::make_shared<const TimeZone>();
    if (time.kind == IcalTime::Kind::kUtc) return WallClock(kUtc);
    if (time.kind != IcalTime::Kind::kZoned) return WallClock();
    const auto found = zones_.find(time.zone);
    if (found == zones_.end()) return WallClock();
    return WallClock(found->second != nullptr ? found->second : zoneByName(time.zone, budget));
}

int64_t WallClock::utcSeconds(WallSeconds wall, StepBudget& budget) const {
    return zone_ == nullptr ? utcSecondsOfServerWall(wall) : zone_->utcSeconds(wall, budget);
}

WallSeconds WallClock::wallSeconds(int64_t utc, StepBudget& budget) const {
    WallSeconds wall = utc;
    // The first look may be on the other side of a change of the clock.
    for (int look = 0; look < 2; ++look) wall = utc + (wall - utcSeconds(wall, budget));
    return wall;
}

}  // namespace groupware
