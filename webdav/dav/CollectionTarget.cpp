#include "webdav/dav/CollectionTarget.h"

#include <algorithm>

#include "webdav/base/Text.h"

namespace DAV {

using webdav::RequestTarget;
using webdav::WebDAVRequest;

namespace {

constexpr std::string_view kFolderExtension = ".IMAP";

std::string withoutFolderExtensions(std::string_view name) {
    std::string bare;
    bare.reserve(name.size());
    for (size_t at = name.find('.'); at != name.npos; at = name.find('.')) {
        bare += name.substr(0, at);
        name.remove_prefix(at);
        const bool isExtension = webdav::StartsWithNoCase(name, kFolderExtension);
        if (!isExtension) bare += '.';
        name.remove_prefix(isExtension ? kFolderExtension.size() : 1);
    }
    return bare += name;
}

bool liesInOwnTree(const WebDAVRequest& request, const std::string& folderPath) {
    // The folder may be the tree itself, whose name then lacks its closing backslash.
    std::string_view tree = request.Account().mailDirectory;
    if (tree.empty()) return false;
    if (folderPath.size() + 1 == tree.size()) tree.remove_suffix(1);
    return webdav::StartsWithNoCase(folderPath, tree);
}

FolderScope scopeOf(const WebDAVRequest& request, const RequestTarget& target) {
    if (target.owner == webdav::kPublicOwner) return FolderScope::kPublic;
    return liesInOwnTree(request, target.folderPath) ? FolderScope::kOwn : FolderScope::kShared;
}

}  // namespace

uint32_t CollectionTarget::accessMask() const {
    if (!isFolder() || liesInOwnTree(request, folderPath)) return STORE_RIGHTS_ALL;
    return webdav::store().CV_GetSharedFolderAccessMask(folderPath.c_str(),
                                                        request.AccountNameForAccess().c_str());
}

CollectionTarget AddressedCollection(WebDAVRequest& request, const webdav::ItemKind& kind,
                                     CollectionRole role) {
    const RequestTarget& target = request.Target();
    const bool mailbox = role == CollectionRole::kInbox || role == CollectionRole::kOutbox;
    return CollectionTarget{
        request,
        kind,
        role,
        scopeOf(request, target),
        target.folderPath,
        DisplayNameOf(target.folderName),
        mailbox ? request.AccountNameForAccess() : target.owner,
    };
}

std::string DisplayNameOf(const std::string& imapName) {
    char decoded[STORE_NAME_SIZE] = {};
    webdav::store().CV_DecodeIMAPFolderName(imapName.c_str(), decoded, sizeof decoded);
    std::string name = withoutFolderExtensions(decoded);
    std::replace(name.begin(), name.end(), '\\', '/');
    return name;
}

}  // namespace DAV
