// An attendee's answer to an invitation as an iCalendar text (RFC 5546, METHOD:REPLY).
//
// Pure. Made from the event's own text: who, which event and which instances, as it names them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace groupware {

struct ReplyFacts {
    std::string_view attendee;       ///< the address of the one that answers
    std::string_view participation;  ///< its PARTSTAT in the event itself
    std::string_view sentBy;         ///< who answers in the attendee's place; empty for itself
    int64_t nowMs = 0;
};

struct ReplyText {
    std::string calendar;
    std::string summary;  ///< of the event, for people
    std::string start;    ///< likewise
};

/// The answer for the event, and for those of its changed instances that the attendee has answered.
/// Nothing when the text is no event with such an attendee.
std::optional<ReplyText> replyText(std::string_view event, const ReplyFacts& facts);

}  // namespace groupware
