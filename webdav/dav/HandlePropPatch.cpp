// PROPPATCH (RFC 4918 section 9.2): every property is read-only here, so it is refused unread.
#include "webdav/frame/WebDAVRequest.h"

namespace webdav {

int32_t WebDAVRequest::HandlePropPatch() {
    SendHttpError(403, "Forbidden", "Unsupported Property");
    return -1;
}

}  // namespace webdav
