#include "groupware/engine/Sharing.h"

#include "groupware/engine/Folders.h"
#include "groupware/engine/Names.h"

namespace groupware {

namespace {

/// An account, or everybody; and a word for it.
struct Grantee {
    int64_t account = kAnyone;
    std::string name{kAnyoneWord};
};

std::string notGranted(const AccountRow& owner, const FolderRow& folder, const Grantee& grantee) {
    const std::string name = quoted(folder.name);
    const std::string which = owner.id == kPublicAccount ? "the public folder " + name
                                                         : owner.address + "'s folder " + name;
    return which + " is not shared with " + grantee.name;
}

/// Changes the grants of a folder; the change is told whom it is about and tells its problem.
template <typename Change>
Problem changeGrants(Engine& engine, const std::optional<AccountRow>& owner,
                     std::string_view folderName, Change change) {
    if (!owner) throw DatabaseError("the account of the public folders is missing", false);
    const auto transaction = engine.database().begin();
    const auto folder = engine.database().folder(owner->id, folderName);
    if (!folder) return noFolder(*owner, folderName);
    if (auto problem = change(*transaction, *folder)) return problem;
    transaction->commit();
    engine.refreshMirror(owner->id);
    return std::nullopt;
}

Problem give(Engine& engine, const std::optional<AccountRow>& owner, std::string_view folderName,
             const Grantee& grantee, uint32_t rights) {
    return changeGrants(engine, owner, folderName,
                        [&](WriteTransaction& transaction, const FolderRow& folder) -> Problem {
                            transaction.setGrant(folder.key, grantee.account, rights);
                            return std::nullopt;
                        });
}

Problem take(Engine& engine, const std::optional<AccountRow>& owner, std::string_view folderName,
             const Grantee& grantee) {
    return changeGrants(engine, owner, folderName,
                        [&](WriteTransaction& transaction, const FolderRow& folder) -> Problem {
                            if (transaction.removeGrant(folder.key, grantee.account)) return {};
                            return notGranted(*owner, folder, grantee);
                        });
}

/// Who may get rights in public folders.
std::optional<Grantee> findGrantee(Engine& engine, std::string_view address) {
    if (equalsIgnoringCase(address, kAnyoneWord)) return Grantee();
    const auto account = engine.findAccount(address);
    if (!account) return std::nullopt;
    return Grantee{account->id, account->address};
}

}  // namespace

Problem shareFolder(Engine& engine, std::string_view owner, std::string_view folder,
                    std::string_view grantee, uint32_t rights) {
    const auto account = engine.findAccount(owner);
    if (!account) return noAccount(owner);
    const auto person = engine.findAccount(grantee);
    if (!person) return noAccount(grantee);
    if (person->id == account->id) {
        return account->address + " owns the folder, and so has all rights in it";
    }
    return give(engine, account, folder, {person->id, person->address}, rights);
}

Problem unshareFolder(Engine& engine, std::string_view owner, std::string_view folder,
                      std::string_view grantee) {
    const auto account = engine.findAccount(owner);
    if (!account) return noAccount(owner);
    const auto person = engine.findAccount(grantee);
    if (!person) return noAccount(grantee);
    return take(engine, account, folder, {person->id, person->address});
}

Problem grantPublicFolder(Engine& engine, std::string_view folder, std::string_view grantee,
                          uint32_t rights) {
    const auto person = findGrantee(engine, grantee);
    if (!person) return noAccount(grantee);
    return give(engine, engine.database().accountById(kPublicAccount), folder, *person, rights);
}

Problem revokePublicFolder(Engine& engine, std::string_view folder, std::string_view grantee) {
    const auto person = findGrantee(engine, grantee);
    if (!person) return noAccount(grantee);
    return take(engine, engine.database().accountById(kPublicAccount), folder, *person);
}

}  // namespace groupware
