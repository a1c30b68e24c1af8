#include "bench/caldav/DataSet.h"

#include <cstdint>
#include <iterator>

namespace bench {
namespace {

using std::chrono::days;
using std::chrono::months;
using std::chrono::sys_days;
using std::chrono::year_month;
using std::chrono::year_month_day;

constexpr int kFirstYear = 2016;
constexpr unsigned kMonths = 120;
constexpr size_t kLineLength = 74;

struct Rule {
    const char* text;
    int stepDays;  ///< or, when zero, a month
    int count;
};
constexpr int kEndless = 100'000;
constexpr Rule kRules[] = {
    {"FREQ=WEEKLY;COUNT=20", 7, 20},
    {"FREQ=DAILY;COUNT=5", 1, 5},
    {"FREQ=WEEKLY;INTERVAL=2;COUNT=26", 14, 26},
    {"FREQ=MONTHLY;COUNT=12", 0, 12},
    {"FREQ=WEEKLY;COUNT=8", 7, 8},
    {"FREQ=DAILY;INTERVAL=3;COUNT=10", 3, 10},
    {"FREQ=WEEKLY", 7, kEndless},
    {"FREQ=MONTHLY;COUNT=6", 0, 6},
};

constexpr std::string_view kWords[] = {
    "agenda",     "budget",  "client",  "draft",   "Müller & Söhne", "figures",   "goals",
    "hiring",     "invoice", "journey", "kitchen", "launch",         "<minutes>", "notes",
    "offer",      "plan",    "quarter", "review",  "school",         "team",      "Übergabe",
    "visit",      "weekly",  "year",    "call",    "deadline",       "dentist",   "evening",
    "Café Größe", "repair",  "release", "workshop"};

constexpr std::string_view kZone =
    "BEGIN:VTIMEZONE\r\nTZID:Europe/Berlin\r\n"
    "BEGIN:DAYLIGHT\r\nTZOFFSETFROM:+0100\r\nTZOFFSETTO:+0200\r\nTZNAME:CEST\r\n"
    "DTSTART:19700329T020000\r\nRRULE:FREQ=YEARLY;BYMONTH=3;BYDAY=-1SU\r\nEND:DAYLIGHT\r\n"
    "BEGIN:STANDARD\r\nTZOFFSETFROM:+0200\r\nTZOFFSETTO:+0100\r\nTZNAME:CET\r\n"
    "DTSTART:19701025T030000\r\nRRULE:FREQ=YEARLY;BYMONTH=10;BYDAY=-1SU\r\nEND:STANDARD\r\n"
    "END:VTIMEZONE\r\n";

/// Numbers that look random and are the same everywhere.
class Dice {
  public:
    explicit Dice(uint64_t seed) : state_(seed) {}

    size_t below(size_t bound) {
        uint64_t value = (state_ += 0x9E3779B97F4A7C15U);
        value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
        value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
        return static_cast<size_t>((value ^ (value >> 31U)) % bound);
    }

  private:
    uint64_t state_;
};

struct Event {
    explicit Event(size_t number) : dice(number) {
        const auto month = year_month{std::chrono::year{kFirstYear}, std::chrono::January} +
                           months{static_cast<int>(dice.below(kMonths))};
        // The ends of a month are left out, and nights: no time zone moves an event across.
        day = month / std::chrono::day{static_cast<unsigned>(2 + dice.below(26))};
        hour = 7 + dice.below(9);
        minutes = 30 + 15 * dice.below(4);
        if (number % 5 == 0) rule = &kRules[number / 5 % std::size(kRules)];
        allDay = rule == nullptr && number % 10 == 7;
        zoned = !allDay && number % 3 == 0;
    }

    Dice dice;
    year_month_day day;
    size_t hour;
    size_t minutes;
    const Rule* rule = nullptr;
    bool allDay;
    bool zoned;
};

std::string digits(size_t value, size_t width) {
    std::string text = std::to_string(value);
    return text.insert(0, width - std::min(width, text.size()), '0');
}

std::string dateText(year_month_day day) {
    return digits(static_cast<size_t>(static_cast<int>(day.year())), 4) +
           digits(static_cast<unsigned>(day.month()), 2) +
           digits(static_cast<unsigned>(day.day()), 2);
}

std::string words(Dice& dice, size_t length) {
    std::string text;
    while (text.size() < length) {
        if (!text.empty()) text += ' ';
        text += kWords[dice.below(std::size(kWords))];
    }
    return text;
}

/// Folds where a character begins.
void addLine(std::string& out, std::string_view line) {
    while (line.size() > kLineLength) {
        size_t cut = kLineLength;
        while ((static_cast<unsigned char>(line[cut]) & 0xC0U) == 0x80U) --cut;
        out.append(line.substr(0, cut)).append("\r\n ");
        line.remove_prefix(cut);
    }
    out.append(line).append("\r\n");
}

void addTime(std::string& out, const char* name, const Event& event, size_t minutes) {
    if (event.allDay) {
        const sys_days day = sys_days(event.day) + days{minutes == 0 ? 0 : 1};
        addLine(out, std::string(name) + ";VALUE=DATE:" + dateText(day));
        return;
    }
    const size_t total = event.hour * 60 + minutes;
    addLine(out, std::string(name) + (event.zoned ? ";TZID=Europe/Berlin:" : ":") +
                     dateText(event.day) + "T" + digits(total / 60, 2) + digits(total % 60, 2) +
                     (event.zoned ? "00" : "00Z"));
}

void addPeople(std::string& out, Dice& dice, std::string_view user) {
    addLine(out, std::string("ORGANIZER;CN=Bench:mailto:").append(user));
    const size_t guests = 2 + dice.below(4);
    for (size_t guest = 0; guest < guests; ++guest) {
        const std::string name = digits(dice.below(500), 3);
        addLine(out, "ATTENDEE;CN=Guest " + name +
                         ";ROLE=REQ-PARTICIPANT;PARTSTAT=NEEDS-ACTION;RSVP=TRUE:mailto:guest" +
                         name + "@elsewhere.test");
    }
}

bool takesPlaceIn(const Event& event, year_month month) {
    const year_month first{event.day.year(), event.day.month()};
    if (event.rule == nullptr) return first == month;
    if (event.rule->stepDays == 0) {
        const auto later = (month - first).count();
        return later >= 0 && later < event.rule->count;
    }
    const sys_days begin = month / 1;
    const sys_days end = (month + months{1}) / 1;
    sys_days day = event.day;
    for (int i = 0; i < event.rule->count && day < end; ++i, day += days{event.rule->stepDays}) {
        if (day >= begin) return true;
    }
    return false;
}

}  // namespace

std::string eventUid(size_t number) {
    return "3f2a9c1e-77b0-4d6e-9a51-" + digits(number, 12);
}

std::string contactUid(size_t number) {
    return "c81d4e2e-bcf2-11e6-869b-" + digits(number, 12);
}

std::string eventText(size_t number, size_t revision, std::string_view user) {
    Event event(number);
    std::string out = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Bench//Client 1.0//EN\r\n";
    if (event.zoned) out += kZone;
    out += "BEGIN:VEVENT\r\n";
    addLine(out, "UID:" + eventUid(number));
    addLine(out, "DTSTAMP:20250101T000000Z");
    addLine(out, "CREATED:20240101T000000Z");
    addLine(out, "LAST-MODIFIED:20250101T" + digits(revision % 86'400 / 3600, 2) + "0000Z");
    addLine(out, "SEQUENCE:" + std::to_string(revision));
    addTime(out, "DTSTART", event, 0);
    addTime(out, "DTEND", event, event.minutes);
    if (event.rule != nullptr) addLine(out, std::string("RRULE:") + event.rule->text);
    addLine(out, "SUMMARY:" + words(event.dice, 24) + ' ' + std::to_string(revision));
    addLine(out, "LOCATION:" + words(event.dice, 12));
    if (number % 4 == 1) addPeople(out, event.dice, user);
    const size_t wanted = 600 + event.dice.below(600);
    addLine(out, "DESCRIPTION:" +
                     words(event.dice, wanted > out.size() + 40 ? wanted - out.size() : 40));
    addLine(out, "STATUS:CONFIRMED");
    addLine(out, event.allDay ? "TRANSP:TRANSPARENT" : "TRANSP:OPAQUE");
    if (number % 3 == 1) {
        out +=
            "BEGIN:VALARM\r\nACTION:DISPLAY\r\nDESCRIPTION:Reminder\r\nTRIGGER:-PT15M\r\n"
            "END:VALARM\r\n";
    }
    return out += "END:VEVENT\r\nEND:VCALENDAR\r\n";
}

std::string contactText(size_t number) {
    Dice dice(number + 1'000'000'000);
    const std::string name = digits(number, 6);
    std::string out = "BEGIN:VCARD\r\nVERSION:3.0\r\nPRODID:-//Bench//Client 1.0//EN\r\n";
    addLine(out, "UID:" + contactUid(number));
    addLine(out, "FN:Zoë Example " + name);
    addLine(out, "N:Example " + name + ";Zoë;;;");
    addLine(out, "ORG:" + words(dice, 20) + ";" + words(dice, 8));
    addLine(out, "EMAIL;TYPE=INTERNET,WORK:zoe" + name + "@elsewhere.test");
    addLine(out, "TEL;TYPE=CELL:+49 30 " + name);
    addLine(out, "ADR;TYPE=WORK:;;Example Street " + name + ";Berlin;;10115;Germany");
    addLine(out, "NOTE:" + words(dice, 100 + dice.below(400)));
    return out += "REV:20250101T000000Z\r\nEND:VCARD\r\n";
}

size_t eventsInMonth(size_t events, year_month month) {
    size_t found = 0;
    for (size_t number = 0; number < events; ++number) {
        if (takesPlaceIn(Event(number), month)) ++found;
    }
    return found;
}

}  // namespace bench
