#include "groupware/ical/TimeZone.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include <libical/ical.h>

#include "groupware/ical/AsciiText.h"
#include "groupware/ical/WindowsZones.h"
#include "groupware/ical/ZoneReader.h"

namespace groupware {

namespace {

constexpr size_t kLongestName = 128;
/// Steps that a look at the known names takes, and a search in the system's tzdata.
constexpr int64_t kLookSteps = 10;
constexpr int64_t kSearchSteps = 1'000;

using ZonePointer = std::shared_ptr<const TimeZone>;

/// libical's zones are not safe from several threads, so these take turns.
std::mutex& libicalTurn() {
    static std::mutex turn;
    return turn;
}

/// The zone as libical tells it from the system's tzdata.
ZonePointer loadZone(const std::string& name) {
    const std::lock_guard guard(libicalTurn());
    for (const std::string_view utc : {"UTC", "GMT", "Z", "Etc/UTC", "Etc/GMT"}) {
        if (equalNames(name, utc)) return std::make_shared<const TimeZone>();
    }
    icaltimezone* zone = icaltimezone_get_builtin_timezone(name.c_str());
    icalcomponent* component = zone == nullptr ? nullptr : icaltimezone_get_component(zone);
    if (component == nullptr) return nullptr;
    const std::unique_ptr<char, void (*)(void*)> text(icalcomponent_as_ical_string_r(component),
                                                      icalmemory_free_buffer);
    return text == nullptr ? nullptr : readTimeZone(text.get());
}

/// The zone that has its name from a city, by the city.
std::string zoneOfCity(std::string_view city) {
    static const auto kByCity = [] {
        const std::lock_guard guard(libicalTurn());
        std::map<std::string, std::string, std::less<>> byCity;
        icalarray* zones = icaltimezone_get_builtin_timezones();
        for (size_t i = 0; zones != nullptr && i < zones->num_elements; ++i) {
            auto* zone = static_cast<icaltimezone*>(icalarray_element_at(zones, i));
            const char* location = icaltimezone_get_location(zone);
            if (location == nullptr) continue;
            const std::string_view name(location);
            byCity.emplace(name.substr(name.rfind('/') + 1), name);
        }
        return byCity;
    }();
    std::string key(city);
    std::ranges::replace(key, ' ', '_');
    const auto found = kByCity.find(key);
    return found == kByCity.end() ? std::string() : found->second;
}

bool isZoneName(std::string_view name) {
    return !name.empty() && name.size() <= kLongestName &&
           name.find("..") == std::string_view::npos && std::ranges::all_of(name, [](char c) {
               return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                      c == '_' || c == '-' || c == '+' || c == '/';
           });
}

/// The names asked for so far with their zones. Those that are none have a bound of their own, so
/// that they never crowd out the others.
class KnownZones {
  public:
    /// Nothing when the name has not been asked for.
    std::optional<ZonePointer> find(std::string_view name) {
        const std::lock_guard guard(lock_);
        if (const auto found = zones_.find(name); found != zones_.end()) return found->second;
        if (unknown_.contains(name)) return ZonePointer();
        return std::nullopt;
    }

    void keep(const std::string& name, ZonePointer zone) {
        constexpr size_t kMostUnknown = 10'000;
        const std::lock_guard guard(lock_);
        if (zone != nullptr) {
            zones_.emplace(name, std::move(zone));
            return;
        }
        if (unknown_.size() >= kMostUnknown) unknown_.clear();
        unknown_.insert(name);
    }

  private:
    std::mutex lock_;
    std::map<std::string, ZonePointer, std::less<>> zones_;
    std::set<std::string, std::less<>> unknown_;
};

ZonePointer knownZone(std::string_view name, StepBudget& budget) {
    static KnownZones known;
    if (!isZoneName(name) || !budget.take(kLookSteps)) return nullptr;
    if (const auto zone = known.find(name)) return *zone;
    if (!budget.take(kSearchSteps)) return nullptr;
    const std::string key(name);
    ZonePointer zone = loadZone(key);
    known.keep(key, zone);
    return zone;
}

/// The part of a prefixed name that may be a tzdata name: its last two levels, or the last three
/// in America, where states have zones of their own. Empty for a name without prefix.
std::string_view withoutPrefix(std::string_view name) {
    constexpr std::string_view kAmerica = "/America/";
    const size_t last = name.rfind('/');
    if (last == std::string_view::npos || last == 0) return {};
    size_t start = name.rfind('/', last - 1);
    if (start == std::string_view::npos) return {};
    if (start >= kAmerica.size() - 1 && name.substr(0, start + 1).ends_with(kAmerica)) {
        start -= kAmerica.size() - 1;
    }
    return name.substr(start + 1);
}

/// Cuts an offset such as (UTC+01:00) or (GMT-05.00) off the front of the name; seconds.
std::optional<int64_t> cutShownOffset(std::string_view& name) {
    if (!startsWithName(name, "(UTC") && !startsWithName(name, "(GMT")) return std::nullopt;
    const size_t end = name.find(')');
    if (end == std::string_view::npos) return std::nullopt;
    std::string digits(name.substr(4, end - 4));
    name = trimmed(name.substr(end + 1));
    std::erase_if(digits, [](char c) { return c == ':' || c == '.' || c == ' '; });
    return digits.empty() ? std::optional<int64_t>(0) : parseZoneOffset(digits);
}

/// A name that Windows shows to people: by what it says, else by its offset alone.
ZonePointer shownZone(std::string_view name, StepBudget& budget) {
    const auto offset = cutShownOffset(name);
    if (auto zone = knownZone(tzdataNameOfShown(name), budget)) return zone;
    if (!offset) return nullptr;
    for (std::string_view rest = name; !rest.empty() && budget.take(kLookSteps);) {
        std::string_view city = cutFirst(rest, ',');
        const std::string found = zoneOfCity(trimmed(city.substr(0, city.find('('))));
        if (auto zone = found.empty() ? nullptr : knownZone(found, budget)) return zone;
    }
    return std::make_shared<const TimeZone>(
        std::vector<ZoneObservance>{{0, *offset, *offset, {}, {}}});
}

}  // namespace

TimeZone::TimeZone(std::vector<ZoneObservance> observances) : observances_(std::move(observances)) {
    std::ranges::stable_sort(observances_, std::greater{}, &ZoneObservance::start);
}

int64_t TimeZone::utcSeconds(WallSeconds wall, StepBudget& budget) const {
    if (observances_.empty()) return wall;
    Onset last;
    for (const ZoneObservance& observance : observances_) {
        const Onset onset = lastOnset(observance, wall, last.at, budget);
        if (onset.at > last.at) last = onset;
    }
    if (last.at == INT64_MIN) return wall - observances_.back().offsetFrom;
    const bool skipped = wall < last.at + (last.offsetTo - last.offsetFrom);
    return wall - (skipped ? last.offsetFrom : last.offsetTo);
}

/// The observance's last onset up to the wall time; one before the known onset is of no interest.
TimeZone::Onset TimeZone::lastOnset(const ZoneObservance& observance, WallSeconds wall,
                                    WallSeconds known, StepBudget& budget) {
    Onset onset{INT64_MIN, observance.offsetFrom, observance.offsetTo};
    const auto dates = static_cast<int64_t>(observance.dates.size());
    if (observance.start > wall || !budget.take(1 + dates / 16)) return onset;
    onset.at = observance.start;
    for (const WallSeconds date : observance.dates) {
        if (date <= wall) onset.at = std::max(onset.at, date);
    }
    if (!observance.rule) return onset;
    WallSeconds last = wall;
    if (const auto& until = observance.rule->until) {
        const bool utc = until->kind == IcalTime::Kind::kUtc;
        const WallSeconds end = until->wall + (utc ? observance.offsetFrom : 0);
        last = std::min(last, until->isDate() ? end + kSecondsPerDay - 1 : end);
    }
    if (last < known) return onset;
    // Onsets come about once a year; a rule that rests for longer is not a zone's.
    constexpr int64_t kLookBack = 400 * kSecondsPerDay;
    RuleWalk walk(*observance.rule, observance.start, last - kLookBack, last, budget);
    while (const auto at = walk.next()) {
        if (*at > last) break;
        onset.at = std::max(onset.at, *at);
    }
    return onset;
}

std::optional<int64_t> parseZoneOffset(std::string_view value) {
    const std::string_view text = trimmed(value);
    if (text.size() != 5 && text.size() != 7) return std::nullopt;
    if (text[0] != '+' && text[0] != '-') return std::nullopt;
    const auto digits = numberFrom(text.substr(1));
    if (!digits || *digits < 0) return std::nullopt;
    const int number = text.size() == 5 ? *digits * 100 : *digits;
    const int64_t seconds = number / 10000 * 3600 + number / 100 % 100 * 60 + number % 100;
    return text[0] == '-' ? -seconds : seconds;
}

std::shared_ptr<const TimeZone> zoneByName(std::string_view name, StepBudget& budget) {
    const std::string_view whole = trimmed(name);
    const size_t level = whole.rfind('/') + 1;
    for (const std::string_view each :
         {whole, withoutPrefix(whole), tzdataNameOf(whole), level > 0 ? whole.substr(level) : ""}) {
        if (auto zone = knownZone(each, budget)) return zone;
    }
    return whole.size() > kLongestName ? nullptr : shownZone(whole, budget);
}

int64_t utcSecondsOfServerWall(WallSeconds wall) {
    return platform::msFromLocal(dateTimeFromWall(wall)) / 1000;
}

}  // namespace groupware
