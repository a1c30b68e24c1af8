#include "groupware/ical/TimeZone.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <string>

#include <libical/ical.h>

#include "groupware/ical/AsciiText.h"
#include "groupware/ical/ZoneReader.h"

namespace groupware {

namespace {

constexpr size_t kLongestName = 64;

/// The zone as libical tells it from the system's tzdata. Its zones are not safe from several
/// threads: the caller holds a lock.
std::shared_ptr<const TimeZone> loadZone(const std::string& name) {
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

bool isZoneName(std::string_view name) {
    return !name.empty() && name.size() <= kLongestName &&
           name.find("..") == std::string_view::npos && std::ranges::all_of(name, [](char c) {
               return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                      c == '_' || c == '-' || c == '+' || c == '/';
           });
}

std::shared_ptr<const TimeZone> keptZone(std::string_view name) {
    constexpr size_t kMostKept = 2'000;  // names that are none are kept as well
    static std::mutex lock;
    static std::map<std::string, std::shared_ptr<const TimeZone>, std::less<>> zones;
    if (!isZoneName(name)) return nullptr;
    const std::lock_guard guard(lock);
    if (const auto found = zones.find(name); found != zones.end()) return found->second;
    if (zones.size() >= kMostKept) zones.clear();
    const std::string key(name);
    return zones.emplace(key, loadZone(key)).first->second;
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
        last = std::min(last, until->wall + (utc ? observance.offsetFrom : 0));
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

std::shared_ptr<const TimeZone> zoneByName(std::string_view name) {
    std::string_view rest = trimmed(name);
    if (auto zone = keptZone(rest)) return zone;
    // Prefixed names are of use only by their end: one slash at the least stands in it.
    while (rest.find('/') != std::string_view::npos) {
        cutFirst(rest, '/');
        if (rest.find('/') == std::string_view::npos) break;
        if (auto zone = keptZone(rest)) return zone;
    }
    return nullptr;
}

int64_t utcSecondsOfServerWall(WallSeconds wall) {
    return platform::msFromLocal(dateTimeFromWall(wall)) / 1000;
}

}  // namespace groupware
