// The per-account switch "EnableWebDAV" and the places where it may stand.
//
// Read anew at each call; safe from every thread.
#pragma once

#include <string>

namespace webdav {

/// The first place that holds a value decides; without one the switch is off.
bool UserSwitchIsOn(const std::string& email, const std::string& mailDirectory);

}  // namespace webdav
