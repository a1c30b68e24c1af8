#include "groupware/engine/Mirror.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "groupware/db/ProcessLock.h"
#include "groupware/engine/MirrorTree.h"
#include "groupware/engine/Names.h"

namespace groupware {

namespace {

std::unique_ptr<platform::FileLock> lockTree(const std::string& root) {
    platform::createDirectories(root);
    return lockBetweenProcesses(root + "mirror.lock");
}

}  // namespace

void Mirror::refresh(int64_t account, const RootOf& rootOf) {
    bring(account, rootOf, [&](const State& known) { return stands(known, rootOf); });
}

void Mirror::follow(int64_t account, const RootOf& rootOf) {
    bring(account, rootOf, [](const State&) { return true; });
}

template <typename Stands>
void Mirror::bring(int64_t account, const RootOf& rootOf, Stands isStanding) {
    const auto wanted = database_.accountVersion(account);
    if (!wanted) return;
    StatePointer known = stateOf(account);
    bool standing = known != nullptr && isStanding(*known);
    if (standing && known->version == wanted) return;

    const std::string root = rootOf();
    // Within the lock all is asked again: whoever comes last writes the newest.
    const auto lock = lockTree(root);
    const auto version = database_.accountVersion(account);
    if (!version) return;
    if (const StatePointer now = stateOf(account); now != known) {
        known = now;
        standing = known != nullptr && isStanding(*known);
    }
    if (standing && known->version == version) return;
    auto tree = bringUpToDate(account, standing ? known.get() : nullptr, root);
    if (!tree) return keep(account, nullptr);

    auto state = std::make_shared<State>();
    state->version = *version;
    state->tree = std::move(*tree);
    keep(account, std::move(state));
}

std::vector<std::string> Mirror::differences(int64_t account, const std::string& root) {
    const auto lock = lockTree(root);
    std::vector<std::string> all;
    if (account != kPublicAccount) all = accountDifferences(root);
    std::set<std::string> expected;
    for (const FolderRow& folder : database_.folders(account)) {
        const std::string name = folderDirectoryName(folder.name);
        expected.insert(lowerAscii(name));
        for (const std::string& difference : folderDifferences(root + name, folder)) {
            all.push_back(folder.name + ": " + difference);
        }
    }
    for (const std::string& stranger : strangers(root, expected)) {
        all.push_back(platform::nativePath(stranger) + " belongs to no folder");
    }
    return all;
}

Mirror::StatePointer Mirror::stateOf(int64_t account) {
    std::lock_guard guard(mutex_);
    const auto found = states_.find(account);
    return found == states_.end() ? nullptr : found->second;
}

void Mirror::keep(int64_t account, StatePointer state) {
    std::lock_guard guard(mutex_);
    if (state == nullptr) {
        states_.erase(account);
    } else {
        states_.insert_or_assign(account, std::move(state));
    }
}

/// Whether the markers are the files that were last seen: all, or the next ones of very many.
bool Mirror::stands(const State& state, const RootOf& rootOf) {
    constexpr size_t kMostLookedAt = 64;
    const size_t size = state.tree.size();
    const size_t count = std::min(size, kMostLookedAt);
    if (count == 0) return true;
    std::string path = rootOf();
    const size_t rootLength = path.size();
    const size_t first = state.nextLook.fetch_add(count, std::memory_order_relaxed) % size;
    auto folder = std::next(state.tree.begin(), static_cast<std::ptrdiff_t>(first));
    for (size_t i = 0; i < count; ++i, ++folder) {
        if (folder == state.tree.end()) folder = state.tree.begin();
        path.resize(rootLength);
        const auto file = platform::fileStamp(path += folder->second.marker);
        if (!file || file != folder->second.file) return false;
    }
    return true;
}

std::optional<Mirror::Tree> Mirror::bringUpToDate(int64_t account, const State* known,
                                                  const std::string& root) {
    bool good = known || account == kPublicAccount || ensureAccountFiles(root);
    bool folderSetChanged = !known;
    Tree tree;
    std::set<std::string> expected;
    for (const FolderRow& folder : database_.folders(account)) {
        const std::string name = folderDirectoryName(folder.name);
        expected.insert(lowerAscii(name));

        const auto before = known ? known->tree.find(name) : Tree::const_iterator();
        const bool isNew = !known || before == known->tree.end();
        folderSetChanged = folderSetChanged || isNew;
        const bool isOther = isNew || before->second.token != folder.token;
        if (isOther || before->second.stampMs != folder.stampMs) {
            const auto ensure = isOther ? ensureFolder : writeMarker;
            good = ensure(root + name, folder) && good;
            const std::string marker = name + "\\" + markerName(folder.kind);
            tree[name] = {folder.stampMs, folder.token, marker, platform::fileStamp(root + marker)};
        } else {
            tree[name] = before->second;
        }
    }
    // None was new: so another size means that some are gone.
    folderSetChanged = folderSetChanged || tree.size() != known->tree.size();
    if (folderSetChanged) good = removeStrangers(root, expected) && good;
    if (!good) return std::nullopt;
    return tree;
}

}  // namespace groupware
