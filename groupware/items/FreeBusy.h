// Answers to free-busy requests, as VFREEBUSY texts from a recipient's default calendar.
//
// Reads committed data only; safe from every thread. Raises DatabaseError when the database fails.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "groupware/engine/Engine.h"
#include "groupware/ical/Occurrences.h"

namespace groupware {

/// A VFREEBUSY with METHOD:REQUEST, as far as the answer needs it.
struct FreeBusyRequest {
    TimeRange range;
    std::string uid;
    std::string organizerLine;               ///< whole, unfolded
    std::vector<std::string> recipients;     ///< addresses, in the order of the request
    std::vector<std::string> attendeeLines;  ///< whole, unfolded, one for each recipient

    /// Nothing when the text is no request with a range and recipients.
    static std::optional<FreeBusyRequest> parse(std::string_view text);
};

/// STORE_OK with the reply, or why there is none: not a local account, not asked for, and so on.
int32_t freeBusyReply(Engine& engine, const FreeBusyRequest& request, std::string_view recipient,
                      std::string& reply);

}  // namespace groupware
