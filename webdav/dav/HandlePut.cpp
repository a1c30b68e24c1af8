// PUT (RFC 4791 section 5.3.2, RFC 6352 section 6.3.2): one item, or a whole file of events.
#include <string>

#include "webdav/dav/ItemPut.h"
#include "webdav/frame/WebDAVRequest.h"
#include "webdav/log/Log.h"

namespace webdav {

namespace {

constexpr uint32_t kImportRights = STORE_RIGHT_WRITE | STORE_RIGHT_INSERT | STORE_RIGHT_DELETE;

int32_t callImport(const char* folderPath, const std::string& body, uint32_t& count) {
    uint32_t imported = 0;
    uint32_t failed = 0;
    return store().CV_CalImportCalItemsFromICalFile(folderPath, 0, body.c_str(), &count, &imported,
                                                    &failed);
}

uint32_t countEvents(const std::string& body) {
    uint32_t count = 0;
    callImport(nullptr, body, count);
    return count;
}

int32_t importEvents(WebDAVRequest& request, const std::string& body) {
    if ((request.GetAccessRights() & kImportRights) != kImportRights)
        return request.RefuseForbidden();
    const std::string& folderPath = request.Target().folderPath;
    uint32_t count = 0;
    const int32_t status = callImport(folderPath.c_str(), body, count);
    if (status != STORE_OK) {
        Log(kLogError, request.RequestTag(), "CV_CalImportCalItemsFromICalFile failed [%d] : [%s]",
            status, folderPath.c_str());
        request.SendHttpError(500, "Internal Server Error", "Unable to save iCalendar data");
        return -1;
    }
    request.SendXmlResponse(204, "");
    return 0;
}

}  // namespace

int32_t WebDAVRequest::HandlePut() {
    const ItemKind* kind = KindOfFolderType(target_.kind);
    if (kind == nullptr) {
        SendXmlResponse(204, "");
        return 0;
    }
    const std::string body(Data().GetBody());
    if (kind == &kCalendarKind && countEvents(body) > 1) return importEvents(*this, body);
    return DAV::ItemPut(*this, *kind, body).run();
}

}  // namespace webdav
