// PROPFIND (RFC 4918 section 9.1).
#include <memory>

#include "webdav/dav/CollectionReponse.h"
#include "webdav/dav/PrincipalReponse.h"
#include "webdav/frame/WebDAVRequest.h"
#include "webdav/log/Log.h"

namespace webdav {

namespace {

using DAV::CollectionRole;
using DAV::PropFindRequest;
using ResponsePointer = std::unique_ptr<DAV::PropFindResponse>;

struct ResponseChoice {
    std::string_view kind;
    ResponsePointer (*make)(WebDAVRequest& request, PropFindRequest& propfind);
};

template <typename Response>
ResponsePointer make(WebDAVRequest& request, PropFindRequest& propfind) {
    return std::make_unique<Response>(request, propfind);
}

template <typename Response, CollectionRole Role>
ResponsePointer makeInRole(WebDAVRequest& request, PropFindRequest& propfind) {
    return std::make_unique<Response>(request, propfind, Role);
}

constexpr ResponseChoice kResponses[] = {
    {"PRINCIPAL", make<DAV::PrincipalPropFindReponse>},
    {"calendar-home-set", makeInRole<DAV::CalPropFindReponse, CollectionRole::kHomeSet>},
    {"calendar-inbox", makeInRole<DAV::CalPropFindReponse, CollectionRole::kInbox>},
    {"IPF.Appointment", make<DAV::CalPropFindReponse>},
    {"IPF.Task", make<DAV::TaskPropFindReponse>},
    {"addressbook-home-set", makeInRole<DAV::ContactPropFindReponse, CollectionRole::kHomeSet>},
    {"IPF.Contact", make<DAV::ContactPropFindReponse>},
};

ResponsePointer chooseResponse(WebDAVRequest& request, PropFindRequest& propfind) {
    for (const ResponseChoice& choice : kResponses)
        if (choice.kind == request.Target().kind) return choice.make(request, propfind);
    return nullptr;
}

}  // namespace

int32_t WebDAVRequest::HandlePropFind() {
    if (target_.kind != "PRINCIPAL" && (GetAccessRights() & STORE_RIGHT_READ) == 0)
        return RefuseForbidden();

    PropFindRequest propfind(Data());
    if (!propfind.setXML(Data().GetBody())) {
        Log(kLogDebug, RequestTag(), "PropFindRequest::setXML failed");
        return RefuseBadRequest();
    }
    Log(kLogDebug, RequestTag(),
        "*** HandlePropFind - HREF = %s, DEPTH=%d, ALL PROPS=%d, LIST NAMES=%d ***",
        propfind.url().c_str(), propfind.depth(), propfind.allprops() ? 1 : 0,
        propfind.propname() ? 1 : 0);

    const ResponsePointer response = chooseResponse(*this, propfind);
    if (response == nullptr) return RefuseBadRequest();
    if (response->execute() != 0) {
        Log(kLogDebug, RequestTag(), "PropFindResponse::execute failed");
        return RefuseBadRequest();
    }
    SendXmlResponse(207, response->getXML());
    return 0;
}

}  // namespace webdav
