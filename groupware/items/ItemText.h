// The three kinds of items as texts: what of a text the store files, and why a text is refused.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "groupware/db/Database.h"
#include "groupware/ical/CalendarObject.h"

namespace groupware {

/// The longest text of one item: more than a web server is likely to take as a body.
inline constexpr size_t kLongestText = size_t{256} * 1024 * 1024;

struct ItemFacts {
    std::string uid;
    std::string organizer;
    /// serverSends tells of each whether a reply is the server's to send: the default, unless the
    /// organizer's or the attendee's SCHEDULE-AGENT says CLIENT or NONE.
    std::vector<CalendarUser> attendees;
    std::vector<platform::DateTime> occurrences;  ///< tasks: instances that are completed
    platform::DateTime
        reference;  ///< tasks: the last of these, else when the task begins or is due
    ItemSpan span;
    bool wholeCharacters = false;  ///< clients get the text as it is, see ical/TextEdit.h
};

/// Reads a text that holds one item of the kind; nothing, and why, when it does not.
std::optional<ItemFacts> readItem(ItemKind kind, std::string_view text, std::string& problem);

/// The event component that speaks for the item: its master, or its first changed instance.
size_t leadingComponent(const CalendarObject& object);

}  // namespace groupware
