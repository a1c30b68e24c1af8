// Whether an item keeps its times when its time zones are told by other definitions.
//
// Programs define one zone in many ways, most of which say the same where it matters. Pure; safe
// from every thread.
#pragma once

#include <string_view>

#include "groupware/db/Database.h"
#include "groupware/ical/RecurrenceRule.h"

namespace groupware {

/// Both texts hold the same events or tasks and may define their zones differently. True when every
/// time of the item, and of its series for some two years, is the same instant in both; with the
/// budget spent they are taken to differ.
bool zonesAgree(ItemKind kind, std::string_view text, std::string_view other, StepBudget& budget);

}  // namespace groupware
