// The XML namespaces of requests and answers. In multistatus documents their prefixes are always D,
// C, CS and card.
#pragma once

#include <string_view>

namespace DAV {

inline constexpr std::string_view kDav = "DAV:";
inline constexpr std::string_view kCalDav = "urn:ietf:params:xml:ns:caldav";
inline constexpr std::string_view kCalendarServer = "http://calendarserver.org/ns/";
inline constexpr std::string_view kCardDav = "urn:ietf:params:xml:ns:carddav";

}  // namespace DAV
