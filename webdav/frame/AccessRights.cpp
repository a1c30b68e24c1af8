// What a request may do in its target folder, asked by the handlers before they read or write.
#include "webdav/base/INIFile.h"
#include "webdav/base/Text.h"
#include "webdav/frame/FolderSettings.h"
#include "webdav/frame/WebDAVRequest.h"
#include "webdav/log/Log.h"

namespace webdav {

namespace {

/// The access token of a folder; a target without a folder has none.
std::string folderToken(const std::string& folderPath) {
    if (folderPath.empty()) return {};
    CINIFile marker;
    marker.path = folderPath;
    if (marker.path.back() != '\\') marker.path += '\\';
    marker.path += "HIWATER.MRK";
    marker.section = "WebDAV";
    return marker.ReadString("ReadonlyAccessToken", "");
}

}  // namespace

std::string WebDAVRequest::AccountNameForAccess() const {
    return account_.readOnly ? "guest" : account_.email;
}

FolderAccess WebDAVRequest::TargetFolder() const {
    return {target_.folderPath, target_.owner, AccountNameForAccess()};
}

uint32_t WebDAVRequest::CheckAccessToken() {
    const std::string token = Data().GetParamUtf8("token");
    if (token.empty()) return 0;
    if (folderToken(target_.folderPath) != token) {
        Log(kLogError, RequestTag(), "Authenticate: Read only access token does not match");
        return 0;
    }
    Log(kLogInfo, RequestTag(), "Authenticate: Read only access token matches");
    return STORE_RIGHT_READ;
}

uint32_t WebDAVRequest::GetAccessRights() {
    if (account_.readOnly) return CheckAccessToken();
    const std::string& ownTree = account_.mailDirectory;
    if (!ownTree.empty() && StartsWithNoCase(target_.folderPath, ownTree)) return STORE_RIGHTS_ALL;

    const std::string account = AccountNameForAccess();
    const char* folderPath = target_.folderPath.c_str();
    if (target_.owner == kPublicOwner && PublicFoldersEnabled())
        return store().CV_GetPublicFolderAccessMask(folderPath, account.c_str());
    // A public folder while these are off goes by the rule of shared ones, on purpose.
    if (!SharedFoldersEnabled()) return 0;
    return store().CV_GetSharedFolderAccessMask(folderPath, account.c_str());
}

}  // namespace webdav
