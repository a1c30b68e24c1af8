// The names that Windows has for time zones, and those of tzdata that mean the same.
//
// Outlook and Exchange write them as TZID. Pure; safe from every thread.
#pragma once

#include <span>
#include <string_view>

namespace groupware {

/// W. Europe Standard Time is Europe/Berlin; empty for a name that Windows does not have.
std::string_view tzdataNameOf(std::string_view windowsName);

/// The same for what Windows shows to people, behind the offset: Eastern Time (US & Canada).
std::string_view tzdataNameOfShown(std::string_view shownName);

}  // namespace groupware
