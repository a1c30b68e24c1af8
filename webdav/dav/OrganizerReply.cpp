#include "webdav/dav/OrganizerReply.h"

#include <algorithm>
#include <span>
#include <string>

#include "webdav/base/Text.h"

namespace DAV {

using webdav::EqualsNoCase;

namespace {

std::span<const StoreAttendee> attendeesOf(const StoreItem& event) {
    return {event.attendees, event.attendeeCount};
}

std::string_view textOf(const char* text) {
    return text == nullptr ? "" : text;
}

const StoreAttendee* findAttendee(const StoreItem& event, std::string_view address) {
    const auto attendees = attendeesOf(event);
    const auto found = std::find_if(attendees.begin(), attendees.end(), [&](const auto& attendee) {
        return EqualsNoCase(textOf(attendee.address), address);
    });
    return found == attendees.end() ? nullptr : &*found;
}

bool standsInDefaultCalendar(const webdav::WebDAVRequest& request) {
    const webdav::StoreAccount account = webdav::StoreAccount::ByEmail(request.Target().owner);
    if (!account.valid()) return false;
    char path[STORE_PATH_SIZE] = {};
    webdav::store().CV_CalGetDefaultFolder(account.handle(), path);
    return request.Target().folderPath == path;
}

// Clients set the attendee's flag when they leave the reply to the server; one never does.
bool leavesReplyToServer(webdav::WebDAVRequest& request, const StoreAttendee& attendee) {
    return attendee.reply != 0 ||
           webdav::StartsWithNoCase(request.Data().GetServerVar("HTTP_USER-AGENT"), "eM Client");
}

uint32_t replyKindOf(uint16_t status) {
    switch (status) {
        case STORE_PARTSTAT_TENTATIVE:
            return STORE_REPLY_TENTATIVE;
        case STORE_PARTSTAT_DECLINED:
            return STORE_REPLY_DECLINED;
        default:
            return STORE_REPLY_ACCEPTED;
    }
}

}  // namespace

uint16_t ParticipationOf(const StoreItem& event, std::string_view address) {
    const StoreAttendee* attendee = findAttendee(event, address);
    return attendee == nullptr ? uint16_t{STORE_PARTSTAT_NONE} : attendee->status;
}

bool HasParticipation(const StoreItem& event, std::string_view address, uint16_t status) {
    const auto attendees = attendeesOf(event);
    return std::any_of(attendees.begin(), attendees.end(), [&](const auto& attendee) {
        return attendee.status == status && EqualsNoCase(textOf(attendee.address), address);
    });
}

void SendOrganizerReply(webdav::WebDAVRequest& request, const StoreItem& event) {
    const std::string& user = request.Target().owner;
    if (event.attendeeCount == 0 || user.empty()) return;
    if (EqualsNoCase(textOf(event.organizer), user)) return;
    if (!standsInDefaultCalendar(request)) return;

    const StoreAttendee* attendee = findAttendee(event, user);
    if (attendee == nullptr || attendee->status == STORE_PARTSTAT_NONE) return;
    if (!leavesReplyToServer(request, *attendee)) return;
    webdav::store().CV_CalSendICalendarMessage(&event, 0, 0, request.AccountNameForAccess().c_str(),
                                               event.organizer == nullptr ? "" : event.organizer,
                                               replyKindOf(attendee->status));
}

}  // namespace DAV
