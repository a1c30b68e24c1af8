#include "groupware/engine/Folders.h"

#include <algorithm>
#include <string>
#include <vector>

#include "abi/StoreTypes.h"
#include "groupware/engine/AccessToken.h"
#include "groupware/engine/Accounts.h"
#include "groupware/engine/Names.h"

namespace groupware {

namespace {

// With the closing backslash that some callers add.
constexpr size_t kMostDirectoryBytes = STORE_PATH_SIZE - 2;

/// The name with the levels that exist already spelt as they exist.
std::string spelledAs(const std::vector<FolderRow>& folders, std::string name) {
    for (const FolderRow& folder : folders) {
        const std::string_view start = std::string_view(name).substr(0, folder.name.size());
        const bool whole = name.size() == folder.name.size() || name[start.size()] == '/';
        if (whole && equalsIgnoringCase(start, folder.name)) {
            name.replace(0, folder.name.size(), folder.name);
        }
    }
    return name;
}

/// A folder whose directory could be taken for that of the new one where case does not count.
const FolderRow* namesake(const std::vector<FolderRow>& folders, std::string_view name) {
    const std::string directory = folderDirectoryName(name);
    const auto found = std::ranges::find_if(folders, [&](const FolderRow& folder) {
        return equalsIgnoringCase(folderDirectoryName(folder.name), directory);
    });
    return found == folders.end() ? nullptr : &*found;
}

std::string existsAlready(const FolderRow& folder) {
    return "the folder " + quoted(folder.name) + " exists already";
}

/// Each level's whole name: Work, Work/Project.
std::vector<std::string> levelsOf(const std::string& name) {
    std::vector<std::string> levels;
    for (size_t end = name.find('/'); end != std::string::npos; end = name.find('/', end + 1)) {
        levels.push_back(name.substr(0, end));
    }
    levels.push_back(name);
    return levels;
}

/// Adds the levels above the name that are missing, all of the kind, when nothing is in the name's
/// way.
Problem addLevelsAbove(WriteTransaction& transaction, const std::vector<FolderRow>& folders,
                       int64_t account, ItemKind kind, const std::string& wanted) {
    for (const std::string& level : levelsOf(wanted)) {
        const FolderRow* other = namesake(folders, level);
        if (other && (level == wanted || other->name != level)) {
            return existsAlready(*other);
        }
        if (!other && level != wanted) transaction.addFolder(account, level, kind, false);
    }
    return std::nullopt;
}

Problem addFolderFor(Engine& engine, WriteTransaction& transaction, const AccountRow& account,
                     ItemKind kind, std::string_view name) {
    if (auto problem = problemOfFolderName(engine, account, name)) return problem;
    const auto folders = engine.database().folders(account.id);
    const std::string wanted = spelledAs(folders, std::string(name));
    if (auto problem = addLevelsAbove(transaction, folders, account.id, kind, wanted)) {
        return problem;
    }
    const bool isDefault = account.id != kPublicAccount &&
                           !engine.database().defaultFolder(account.id, kind).has_value();
    transaction.addFolder(account.id, wanted, kind, isDefault);
    transaction.commit();
    engine.refreshMirror(account.id);
    return std::nullopt;
}

/// Whether the name is the upper one or stands below it.
bool isAtOrBelow(std::string_view name, std::string_view upper) {
    return equalsIgnoringCase(name.substr(0, upper.size()), upper) &&
           (name.size() == upper.size() || name[upper.size()] == '/');
}

/// Why the moved folders cannot have their new names.
Problem problemOfNewNames(const Engine& engine, const AccountRow& account,
                          const std::vector<FolderRow>& others, const std::vector<FolderRow>& moved,
                          std::string_view oldName, const std::string& newName) {
    for (const FolderRow& folder : moved) {
        const std::string name = newName + folder.name.substr(oldName.size());
        if (auto problem = problemOfFolderName(engine, account, name)) return problem;
        if (const FolderRow* other = namesake(others, name)) return existsAlready(*other);
    }
    return std::nullopt;
}

}  // namespace

Problem problemOfFolderName(const Engine& engine, const AccountRow& account,
                            std::string_view name) {
    if (!isFolderName(name)) {
        return "no folder can have the name " + quoted(name);
    }
    const std::string directory = engine.mailDirectory(account) + folderDirectoryName(name);
    if (directory.size() > kMostDirectoryBytes) {
        return "the name " + quoted(name) + " is too long: the folder's directory would have " +
               std::to_string(directory.size()) + " of at most " +
               std::to_string(kMostDirectoryBytes) + " bytes";
    }
    return std::nullopt;
}

std::string noFolder(const AccountRow& owner, std::string_view folder) {
    if (owner.id == kPublicAccount) {
        return "there is no public folder " + quoted(folder) +
               "; \"cvadmin public list\" shows the folders";
    }
    return owner.address + " has no folder " + quoted(folder) + "; \"cvadmin folder list " +
           owner.address + "\" shows the folders";
}

Problem addFolder(Engine& engine, std::string_view address, ItemKind kind, std::string_view name) {
    const auto transaction = engine.database().begin();
    const auto account = engine.findAccount(address);
    if (!account) return noAccount(address);
    return addFolderFor(engine, *transaction, *account, kind, name);
}

Problem renameFolder(Engine& engine, std::string_view address, std::string_view name,
                     std::string_view newName) {
    const auto transaction = engine.database().begin();
    const auto account = engine.findAccount(address);
    if (!account) return noAccount(address);
    const auto moved = foldersFrom(engine, account->id, name);
    if (moved.empty()) return noFolder(*account, name);
    auto others = engine.database().folders(account->id);
    std::erase_if(others, [&](const FolderRow& row) { return isAtOrBelow(row.name, name); });
    const std::string wanted = spelledAs(others, std::string(newName));
    if (wanted.size() > name.size() && isAtOrBelow(wanted, name)) {
        return quoted(name) + " cannot become a folder below itself";
    }
    if (auto problem = problemOfNewNames(engine, *account, others, moved, name, wanted))
        return problem;
    if (auto problem =
            addLevelsAbove(*transaction, others, account->id, moved.front().kind, wanted)) {
        return problem;
    }
    for (const FolderRow& folder : moved) {
        // The directory does not move, and what it alone tells is lost with it.
        transaction->setToken(folder.key, accessToken(engine, *account, folder));
        transaction->renameFolder(folder.key, wanted + folder.name.substr(name.size()));
    }
    transaction->commit();
    engine.refreshMirror(account->id);
    return std::nullopt;
}

std::vector<FolderRow> foldersFrom(Engine& engine, int64_t account, std::string_view name) {
    const auto top = engine.database().folder(account, name);
    if (!top) return {};
    auto folders = engine.database().folders(account);
    std::erase_if(folders, [&](const FolderRow& row) { return !isAtOrBelow(row.name, name); });
    std::ranges::sort(folders, {}, [](const FolderRow& row) { return row.name.size(); });
    return folders;
}

Contents contentsOf(Engine& engine, const std::vector<FolderRow>& folders) {
    Contents contents{folders.size(), 0};
    for (const FolderRow& folder : folders) {
        contents.items += engine.database().itemCount(folder.key);
    }
    return contents;
}

Problem removeFolder(Engine& engine, const AccountRow& account, std::string_view name) {
    const auto transaction = engine.database().begin();
    const auto folders = foldersFrom(engine, account.id, name);
    if (folders.empty()) return noFolder(account, name);
    for (const FolderRow& folder : folders) {
        if (folder.isDefault) {
            return quoted(folder.name) + " is the account's default folder of its kind, " +
                   "which cannot be removed";
        }
        transaction->removeFolder(folder.key);
    }
    transaction->commit();
    engine.refreshMirror(account.id);
    return std::nullopt;
}

Problem addPublicFolder(Engine& engine, ItemKind kind, std::string_view name) {
    const auto transaction = engine.database().begin();
    const auto account = engine.database().accountById(kPublicAccount);
    if (!account) throw DatabaseError("the account of the public folders is missing", false);
    return addFolderFor(engine, *transaction, *account, kind, name);
}

}  // namespace groupware
