// What a calendar home or an address book home lists: every collection that the user can reach.
#pragma once

#include "webdav/dav/PropFindResponse.h"

namespace DAV {

/// Answers the collections of the home of that kind (events stand for the calendar home, which
/// lists task folders as well). False, and a log line, when the account cannot be found.
bool ListHome(PropFindResponseBase& response, webdav::WebDAVRequest& request,
              const PropFindRequest& propfind, const webdav::ItemKind& kind);

}  // namespace DAV
