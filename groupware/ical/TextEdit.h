// Changes of single properties in a client's text that leave every other byte as it is.
//
// The text must be one that was read without a problem before.
#pragma once

#include <string>
#include <string_view>

#include "groupware/db/Database.h"
#include "groupware/ical/IcalTime.h"

namespace groupware {

/// Sets the UID of every event or task in the text, or of the vCard.
std::string withUid(ItemKind kind, std::string_view text, std::string_view uid);

/// Sets the PARTSTAT of an attendee in the event of that index among the text's events.
std::string withParticipation(std::string_view text, size_t index, std::string_view address,
                              std::string_view participation);

/// Marks the task of that index among the text's tasks as completed at that time (UTC).
std::string withCompletion(std::string_view text, size_t index, const platform::DateTime& when);

/// Whether a text is UTF-8, which it is not when a line is folded within a character.
bool hasWholeCharacters(std::string_view text);

/// The text with lines that are folded within a character folded anew, so that whoever reads it
/// before unfolding finds whole characters; the same text when there are none.
std::string withWholeCharacters(std::string text);

/// A content line, folded, with the line end given.
std::string foldedLine(std::string_view line, std::string_view lineEnd);

}  // namespace groupware
