// The reply to an organizer when an attendee's participation in an event has changed.
#pragma once

#include <string_view>

#include "webdav/frame/WebDAVRequest.h"

namespace DAV {

/// The status of the first attendee of that address; STORE_PARTSTAT_NONE without one.
uint16_t ParticipationOf(const StoreItem& event, std::string_view address);

/// True when there is such an attendee and his status is the given one.
bool HasParticipation(const StoreItem& event, std::string_view address, uint16_t status);

/// Has the store send the reply, when the event just written calls for one: it stands in the
/// requested user's own default calendar and the user is an attendee, not the organizer.
void SendOrganizerReply(webdav::WebDAVRequest& request, const StoreItem& event);

}  // namespace DAV
