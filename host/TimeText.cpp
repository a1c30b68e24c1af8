#include "host/TimeText.h"

#include <array>
#include <cstdio>
#include <cstdlib>

#include "platform/LocalTime.h"

namespace host {

std::string isoTime(int64_t utcMs) {
    const platform::DateTime t = platform::utcFromMs(utcMs);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04u-%02u-%02uT%02u:%02u:%02u.%03uZ", t.year, t.month,
                  t.day, t.hour, t.minute, t.second, t.milliseconds);
    return text.data();
}

std::string commonLogTime(int64_t utcMs) {
    constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const platform::DateTime t = platform::localFromMs(utcMs);
    const auto ahead = static_cast<int>((platform::msFromUtc(t) - utcMs) / 60'000);
    std::array<char, 60> text{};
    std::snprintf(text.data(), text.size(), "%02u/%s/%04u:%02u:%02u:%02u %c%02d%02d", t.day,
                  kMonths[(t.month + 11U) % 12U], t.year, t.hour, t.minute, t.second,
                  ahead < 0 ? '-' : '+', std::abs(ahead) / 60, std::abs(ahead) % 60);
    return text.data();
}

}  // namespace host
