// The calendar text that a message file carries.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace groupware {

/// The longest message that is looked at.
inline constexpr size_t kLongestMessage = 32 * 1024 * 1024;

/// The first text/calendar part of a message, decoded, or the whole when it is iCalendar itself.
std::optional<std::string> calendarTextOf(std::string_view message);

}  // namespace groupware
