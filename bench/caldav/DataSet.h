// The events and contacts that a server is filled with: always the same for the same number, so
// that every server and every run has the same work. About 1 KB each; a fifth of the events recur,
// some have attendees, alarms, a time zone or a whole day. They spread over ten years.
//
// Pure functions, for any thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace bench {

/// The month that queries ask for.
constexpr std::chrono::year_month kQueryMonth = std::chrono::year{2024} / std::chrono::May;

std::string eventUid(size_t number);
std::string contactUid(size_t number);

/// @param revision tells the versions of one event apart: summary, sequence, last change.
std::string eventText(size_t number, size_t revision, std::string_view user);
std::string contactText(size_t number);

/// How many of the first events take place in a month, recurrences included.
size_t eventsInMonth(size_t events, std::chrono::year_month month);

}  // namespace bench
