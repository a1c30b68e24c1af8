#include "groupware/engine/FolderRights.h"

#include <map>

#include "abi/StoreTypes.h"
#include "groupware/engine/Names.h"
#include "groupware/engine/Settings.h"

namespace groupware {

namespace {

/// Rights by the number of the folder, and those by the account that owns the folders.
using RightsByFolder = std::map<int64_t, uint32_t>;
using RightsByOwner = std::map<int64_t, RightsByFolder>;

uint32_t rightsOf(Engine& engine, const FolderRow& folder, std::string_view accountName) {
    Database& database = engine.database();
    const auto account = database.account(lowerAscii(accountName));
    const bool isPublic = folder.key.account == kPublicAccount;
    if (account && account->id == folder.key.account) return STORE_RIGHTS_ALL;
    const uint32_t common = isPublic ? database.grantedRights(folder.key, kAnyone) : 0;
    if (!account) return common & STORE_RIGHT_READ;
    return common | database.grantedRights(folder.key, account->id);
}

void addGrants(Engine& engine, int64_t grantee, RightsByOwner& rights) {
    for (const GrantRow& grant : engine.database().grantsTo(grantee)) {
        rights[grant.folder.account][grant.folder.folder] |= grant.rights;
    }
}

/// Appends the owner's folders that these rights allow to be read.
void appendReadable(Engine& engine, int64_t owner, const RightsByFolder& rights,
                    std::vector<OwnedFolder>& readable) {
    const auto account = engine.database().accountById(owner);
    if (!account) return;
    engine.refreshMirror(owner);
    for (FolderRow& folder : engine.database().folders(owner)) {
        const auto granted = rights.find(folder.key.folder);
        if (granted == rights.end() || (granted->second & STORE_RIGHT_READ) == 0) continue;
        readable.push_back({*account, std::move(folder)});
    }
}

}  // namespace

uint32_t rightsInFolder(Engine& engine, std::string_view directory, std::string_view accountName) {
    const auto folder = engine.folderByDirectory(directory);
    return folder ? rightsOf(engine, *folder, accountName) : 0;
}

uint32_t rightsInPublicFolder(Engine& engine, std::string_view directory,
                              std::string_view accountName) {
    const auto folder = engine.folderByDirectory(directory);
    const bool isPublic = folder && folder->key.account == kPublicAccount;
    return isPublic ? rightsOf(engine, *folder, accountName) : 0;
}

std::vector<OwnedFolder> sharedFolders(Engine& engine, const AccountRow& account) {
    std::vector<OwnedFolder> readable;
    if (!sharedFoldersEnabled(engine.paths())) return readable;
    RightsByOwner rights;
    addGrants(engine, account.id, rights);
    rights.erase(kPublicAccount);
    for (const auto& [owner, folders] : rights) appendReadable(engine, owner, folders, readable);
    return readable;
}

std::vector<OwnedFolder> publicFolders(Engine& engine, const AccountRow& account) {
    std::vector<OwnedFolder> readable;
    if (!publicFoldersEnabled(engine.paths())) return readable;
    RightsByOwner rights;
    addGrants(engine, account.id, rights);
    addGrants(engine, kAnyone, rights);
    appendReadable(engine, kPublicAccount, rights[kPublicAccount], readable);
    return readable;
}

}  // namespace groupware
