#include "groupware/engine/Mirror.h"

#include <set>

#include "groupware/engine/MirrorTree.h"
#include "groupware/engine/Names.h"
#include "platform/Files.h"

namespace groupware {

namespace {

std::unique_ptr<platform::FileLock> lockTree(const std::string& root) {
    platform::createDirectories(root);
    auto lock = platform::FileLock::acquire(root + "mirror.lock");
    if (!lock) {
        throw DatabaseError("cannot lock the directory " + platform::nativePath(root), false);
    }
    return lock;
}

}  // namespace

void Mirror::refresh(int64_t account, const std::string& root) {
    if (isMirrored(account, database_.accountVersion(account))) return;

    // Within the lock the database is asked again: whoever comes last writes the newest.
    const auto lock = lockTree(root);
    const int64_t version = database_.accountVersion(account);
    if (isMirrored(account, version)) return;
    auto stamps = bringUpToDate(account, knownStamps(account), root);
    if (!stamps) return forget(account);

    std::lock_guard guard(mutex_);
    states_.insert_or_assign(account, State{version, std::move(*stamps)});
}

void Mirror::forget(int64_t account) {
    std::lock_guard guard(mutex_);
    states_.erase(account);
}

bool Mirror::isMirrored(int64_t account, int64_t version) {
    std::lock_guard guard(mutex_);
    const auto found = states_.find(account);
    return found != states_.end() && found->second.version == version;
}

std::optional<Mirror::Stamps> Mirror::knownStamps(int64_t account) {
    std::lock_guard guard(mutex_);
    const auto found = states_.find(account);
    if (found == states_.end()) return std::nullopt;
    return found->second.stamps;
}

std::optional<Mirror::Stamps> Mirror::bringUpToDate(int64_t account,
                                                    const std::optional<Stamps>& known,
                                                    const std::string& root) {
    bool good = known || account == kPublicAccount || ensureAccountFiles(root);
    bool folderSetChanged = !known;
    Stamps stamps;
    std::set<std::string> expected;
    for (const FolderRow& folder : database_.folders(account)) {
        const std::string name = folderDirectoryName(folder.name);
        expected.insert(lowerAscii(name));
        stamps[name] = folder.stampMs;

        const auto before = known ? known->find(name) : Stamps::const_iterator();
        const bool isNew = !known || before == known->end();
        folderSetChanged = folderSetChanged || isNew;
        if (isNew || before->second != folder.stampMs) {
            good = ensureFolder(root + name, folder) && good;
        }
    }
    // None was new: so another size means that some are gone.
    folderSetChanged = folderSetChanged || stamps.size() != known->size();
    if (folderSetChanged) good = removeStrangers(root, expected) && good;
    if (!good) return std::nullopt;
    return stamps;
}

}  // namespace groupware
