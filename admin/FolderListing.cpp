#include "admin/FolderListing.h"

#include "admin/Rights.h"
#include "groupware/engine/AccessToken.h"
#include "groupware/engine/Names.h"
#include "groupware/engine/Sharing.h"

namespace admin {

using groupware::AccountRow;
using groupware::Engine;
using groupware::FolderRow;
using groupware::GrantRow;
using groupware::ItemKind;

namespace {

struct KindWord {
    ItemKind kind;
    std::string_view word;
};

constexpr KindWord kKindWords[] = {
    {ItemKind::kEvent, "calendar"},
    {ItemKind::kTask, "tasks"},
    {ItemKind::kContact, "contacts"},
};

std::string granteeWord(const GrantRow& grant) {
    return grant.grantee == groupware::kAnyone ? std::string(groupware::kAnyoneWord)
                                               : grant.address;
}

bool hasToken(Engine& engine, const AccountRow& owner, const FolderRow& folder) {
    return !groupware::accessToken(engine, owner, folder).empty();
}

/// What the folder is to its account beyond its kind.
std::string roleOf(const FolderRow& folder) {
    if (folder.isDefault) return "default";
    if (folder.kind != ItemKind::kContact) return {};
    if (groupware::equalsIgnoringCase(folder.name, groupware::kWhiteListName)) return "white list";
    if (groupware::equalsIgnoringCase(folder.name, groupware::kBlackListName)) return "black list";
    return {};
}

/// Who besides the owner may use the folder.
std::string accessNote(const std::vector<GrantRow>& grants, const FolderRow& folder, bool token) {
    std::string note;
    for (const GrantRow& grant : grants) {
        if (grant.folder != folder.key) continue;
        note += (note.empty() ? "" : "; ") + granteeWord(grant) + ": " + rightsList(grant.rights);
    }
    if (token) note += std::string(note.empty() ? "" : "; ") + "read-only token";
    return note;
}

Json grantsAsJson(const std::vector<GrantRow>& grants, const FolderRow& folder) {
    Json list = Json::array();
    for (const GrantRow& grant : grants) {
        if (grant.folder != folder.key) continue;
        list.push_back({{"to", granteeWord(grant)}, {"rights", rightsWords(grant.rights)}});
    }
    return list;
}

}  // namespace

std::string_view kindWord(ItemKind kind) {
    for (const KindWord& row : kKindWords) {
        if (row.kind == kind) return row.word;
    }
    return "unknown";
}

ItemKind kindOfWord(std::string_view word) {
    for (const KindWord& row : kKindWords) {
        if (row.word == word) return row.kind;
    }
    return ItemKind::kEvent;
}

void printFolders(Engine& engine, const AccountRow& owner) {
    std::vector<std::vector<std::string>> rows;
    const auto grants = engine.database().grantsOn(owner.id);
    for (const FolderRow& folder : engine.database().folders(owner.id)) {
        rows.push_back({folder.name, std::string(kindWord(folder.kind)),
                        countOf(engine.database().itemCount(folder.key), "item"), roleOf(folder),
                        accessNote(grants, folder, hasToken(engine, owner, folder))});
    }
    printColumns(rows);
}

Json foldersAsJson(Engine& engine, const AccountRow& owner) {
    Json list = Json::array();
    const auto grants = engine.database().grantsOn(owner.id);
    for (const FolderRow& folder : engine.database().folders(owner.id)) {
        list.push_back({{"name", folder.name},
                        {"kind", kindWord(folder.kind)},
                        {"default", folder.isDefault},
                        {"role", roleOf(folder)},
                        {"items", engine.database().itemCount(folder.key)},
                        {"grants", grantsAsJson(grants, folder)},
                        {"token", hasToken(engine, owner, folder)}});
    }
    return list;
}

}  // namespace admin
