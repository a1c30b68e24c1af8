#include "webdav/dav/QueryRequest.h"

#include <cstdio>

#include "platform/LocalTime.h"
#include "webdav/dav/Namespaces.h"

namespace DAV {

using webdav::ElementIndex;
using webdav::ResolvedNames;

namespace {

/// A UTC time in iCalendar's basic form, as server local time. What cannot be read stays zero.
StoreDateTime localFromText(const std::string& text) {
    platform::DateTime utc;
    // The pattern is the whole syntax check: a final "Z", or anything else, may follow.
    std::sscanf(text.c_str(), "%4hu%2hu%2huT%2hu%2hu%2hu", &utc.year, &utc.month, &utc.day,
                &utc.hour, &utc.minute, &utc.second);
    const platform::DateTime local = platform::utcToLocal(utc);
    return {local.year, local.month,  local.dayOfWeek, local.day,
            local.hour, local.minute, local.second,    local.milliseconds};
}

}  // namespace

bool QueryRequest::parseProperties(const ResolvedNames& names, ElementIndex report) {
    const ElementIndex prop = names.findChild(report, kDav, "prop");
    return prop == 0 || addProperties(names, prop);
}

bool CalendarQueryRequest::parse(const ResolvedNames& names) {
    const ElementIndex report =
        names.findChild(ResolvedNames::kDocument, kCalDav, "calendar-query");
    if (report == 0 || !parseProperties(names, report)) return false;
    for (ElementIndex child = names.firstChild(report); child != 0;
         child = names.nextSibling(child))
        if (names.is(child, kCalDav, "filter")) readFilter(names, child);
    return true;
}

// Walks through nested comp-filters whatever component they name; the document's depth is the
// client's, so the way back up is found by the parent links instead of by recursion.
void CalendarQueryRequest::readFilter(const ResolvedNames& names, ElementIndex filter) {
    ElementIndex element = names.firstChild(filter);
    while (element != 0) {
        if (names.is(element, kCalDav, "time-range")) readTimeRange(names, element);
        const bool enters = names.is(element, kCalDav, "comp-filter");
        ElementIndex next = enters ? names.firstChild(element) : 0;
        while (next == 0 && element != filter) {
            next = names.nextSibling(element);
            if (next == 0) element = names.parent(element);
        }
        element = next;
    }
}

void CalendarQueryRequest::readTimeRange(const ResolvedNames& names, ElementIndex element) {
    if (names.hasAttribute(element, "start"))
        range_.start = localFromText(names.attribute(element, "start"));
    if (names.hasAttribute(element, "end"))
        range_.end = localFromText(names.attribute(element, "end"));
}

bool ContactQueryRequest::parse(const ResolvedNames& names) {
    const ElementIndex report =
        names.findChild(ResolvedNames::kDocument, kCardDav, "addressbook-query");
    return report != 0 && parseProperties(names, report);
}

}  // namespace DAV
