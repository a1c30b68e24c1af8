// DELETE (RFC 4918 section 9.6) of one item; collections are never deleted.
#include <string>

#include "webdav/base/ExceptObj.h"
#include "webdav/dav/Hrefs.h"
#include "webdav/dav/KindTexts.h"
#include "webdav/frame/WebDAVRequest.h"
#include "webdav/log/Log.h"

namespace webdav {

namespace {

/// 0, or -1 when the client has been told that there is no such item.
int32_t deleteItem(WebDAVRequest& request, const ItemKind& kind, const std::string& uid) {
    const DAV::KindTexts& texts = DAV::TextsOf(kind);
    const FolderAccess folder = request.TargetFolder();
    const char* folderPath = folder.folderPath.c_str();

    ItemRecord item(kind);
    if (uid.empty() || !kind.operations.find(item.get(), uid, folder)) {
        Log(kLogError, request.RequestTag(), texts.deleteUnknown, folderPath, uid.c_str());
        request.SendHttpError(404, "Not Found", "");
        return -1;
    }
    const int32_t status = kind.operations.remove(*item, folder);
    if (status != STORE_OK) {
        // A contact is named by its identifier here, the others by the UID that was asked for.
        const std::string name = &kind == &kContactKind ? ItemNumberText(kind, *item) : uid;
        Log(kLogError, request.RequestTag(), texts.deleteFailure, folderPath, name.c_str(), status);
        throw ExceptObj(__LINE__, "WebDAVRequest.cpp", texts.deleteMessage);
    }
    Log(kLogInfo, request.RequestTag(), texts.deleted, folderPath, uid.c_str());
    return 0;
}

}  // namespace

int32_t WebDAVRequest::HandleDelete() {
    const std::string uid = DAV::WithoutExtension(DAV::NameOfUrl(Url()));
    Log(kLogDebug, RequestTag(), "*** Delete *** - [%s:%s]", target_.folderPath.c_str(),
        uid.c_str());
    if ((GetAccessRights() & STORE_RIGHT_DELETE) == 0) return RefuseForbidden();

    // The URL of a collection names no item, whatever its last segment looks like.
    const ItemKind* kind = target_.itemName.empty() ? nullptr : KindOfFolderType(target_.kind);
    if (kind != nullptr && deleteItem(*this, *kind, uid) != 0) return -1;
    SendXmlResponse(200, "");
    return 0;
}

}  // namespace webdav
