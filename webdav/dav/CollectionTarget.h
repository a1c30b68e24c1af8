// One collection to be answered: the addressed one, or one that a home lists.
#pragma once

#include <optional>
#include <string>

#include "webdav/dav/ChangeStamp.h"
#include "webdav/frame/WebDAVRequest.h"

namespace DAV {

enum class CollectionRole { kFolder, kHomeSet, kInbox, kOutbox };

/// Whose a folder is, seen by the one who asks.
enum class FolderScope { kOwn, kShared, kPublic };

struct CollectionTarget {
    webdav::WebDAVRequest& request;
    const webdav::ItemKind& kind;
    CollectionRole role = CollectionRole::kFolder;
    FolderScope scope = FolderScope::kOwn;
    /// Without a closing backslash; empty when no folder stands behind the target.
    std::string folderPath = {};
    std::string displayName = {};  ///< UTF-8, levels divided by "/"
    std::string owner = {};

    bool isFolder() const { return role == CollectionRole::kFolder; }
    /// Read once, as several properties show it.
    const std::string& changeStamp() const {
        if (!stamp_) stamp_ = ReadChangeStamp(kind, folderPath);
        return *stamp_;
    }
    /// What the requester may do there.
    uint32_t accessMask() const;

    mutable std::optional<std::string> stamp_ = std::nullopt;
};

/// The collection that the request addresses.
CollectionTarget AddressedCollection(webdav::WebDAVRequest& request, const webdav::ItemKind& kind,
                                     CollectionRole role);

/// A folder name of the store (Work.IMAP\Sub.IMAP, modified UTF-7) as its user sees it: Work/Sub.
std::string DisplayNameOf(const std::string& imapName);

}  // namespace DAV
