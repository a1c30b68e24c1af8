#include "groupware/ical/IcalTime.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

#include "groupware/ical/AsciiText.h"

namespace groupware {

namespace {

/// Reads that many digits; -1 when something else stands there.
int digits(std::string_view text, size_t from, size_t count) {
    int number = 0;
    for (size_t i = from; i < from + count; ++i) {
        if (i >= text.size() || text[i] < '0' || text[i] > '9') return -1;
        number = number * 10 + (text[i] - '0');
    }
    return number;
}

std::optional<int64_t> parseDay(std::string_view text) {
    const int year = digits(text, 0, 4);
    const int month = digits(text, 4, 2);
    const int day = digits(text, 6, 2);
    if (year < 1 || month < 1 || day < 1) return std::nullopt;
    const std::chrono::year_month_day date{std::chrono::year{year},
                                           std::chrono::month{static_cast<unsigned>(month)},
                                           std::chrono::day{static_cast<unsigned>(day)}};
    if (!date.ok()) return std::nullopt;
    return std::chrono::sys_days{date}.time_since_epoch().count();
}

/// Some clients write 2025-06-01T10:00:00; nothing when the text is not of that form.
std::optional<std::string> fromExtendedForm(std::string_view text) {
    constexpr size_t kLongest = 20;
    if (text.size() < 10 || text.size() > kLongest || text[4] != '-' || text[7] != '-') {
        return std::nullopt;
    }
    std::string basic(text);
    std::erase_if(basic, [](char c) { return c == '-' || c == ':'; });
    return basic;
}

}  // namespace

int64_t dayOf(WallSeconds wall) {
    return wall >= 0 ? wall / kSecondsPerDay : -((-wall + kSecondsPerDay - 1) / kSecondsPerDay);
}

std::optional<IcalTime> parseIcalTime(std::string_view value, std::string_view tzid) {
    std::string_view text = trimmed(value);
    const auto basic = fromExtendedForm(text);
    if (basic) text = *basic;
    const auto day = parseDay(text);
    if (!day) return std::nullopt;
    IcalTime time;
    time.wall = *day * kSecondsPerDay;
    if (text.size() == 8) {
        time.kind = IcalTime::Kind::kDate;
        return time;
    }
    const bool utc = asciiUpper(text.back()) == 'Z';
    if (utc) text.remove_suffix(1);
    const int hour = digits(text, 9, 2);
    const int minute = digits(text, 11, 2);
    const int second = text.size() == 13 ? 0 : digits(text, 13, 2);
    if ((text.size() != 15 && text.size() != 13) || asciiUpper(text[8]) != 'T') return std::nullopt;
    if (hour < 0 || hour > 24 || minute < 0 || minute > 59 || second < 0 || second > 60) {
        return std::nullopt;
    }
    // A leap second has no place of its own on our clocks. Hour 24 is the next day's first.
    time.wall += hour * 3600 + minute * 60 + std::min(second, 59);
    if (utc) {
        time.kind = IcalTime::Kind::kUtc;
    } else if (!tzid.empty()) {
        time.kind = IcalTime::Kind::kZoned;
        time.zone = tzid;
    }
    return time;
}

std::optional<IcalDuration> parseIcalDuration(std::string_view value) {
    constexpr int64_t kLongest = 3'660'000;  // days, about ten thousand years
    std::string_view text = trimmed(value);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    if (text.size() < 2 || asciiUpper(text[0]) != 'P') return std::nullopt;
    IcalDuration duration;
    int64_t number = 0;
    for (const char raw : text.substr(1)) {
        const char c = asciiUpper(raw);
        if (c >= '0' && c <= '9') {
            number = std::min(number * 10 + (c - '0'), kLongest * kSecondsPerDay);
            continue;
        }
        switch (c) {
            case 'W':
                duration.days += number * 7;
                break;
            case 'D':
                duration.days += number;
                break;
            case 'H':
                duration.seconds += number * 3600;
                break;
            case 'M':
                duration.seconds += number * 60;
                break;
            case 'S':
                duration.seconds += number;
                break;
            case 'T':
                break;
            default:
                return std::nullopt;
        }
        number = 0;
        if (duration.days > kLongest || duration.seconds > kLongest * kSecondsPerDay)
            return std::nullopt;
    }
    if (negative) return IcalDuration{-duration.days, -duration.seconds};
    return duration;
}

std::string utcText(int64_t ms) {
    const platform::DateTime time = platform::utcFromMs(ms);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04u%02u%02uT%02u%02u%02uZ", unsigned{time.year},
                  unsigned{time.month}, unsigned{time.day}, unsigned{time.hour},
                  unsigned{time.minute}, unsigned{time.second});
    return text.data();
}

platform::DateTime dateTimeFromWall(WallSeconds wall) {
    return platform::utcFromMs(wall * 1000);
}

}  // namespace groupware
