#include "groupware/engine/Folders.h"

#include <algorithm>
#include <string>
#include <vector>

#include "abi/StoreTypes.h"
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

/// Each level's whole name: Work, Work/Project.
std::vector<std::string> levelsOf(const std::string& name) {
    std::vector<std::string> levels;
    for (size_t end = name.find('/'); end != std::string::npos; end = name.find('/', end + 1)) {
        levels.push_back(name.substr(0, end));
    }
    levels.push_back(name);
    return levels;
}

/// Adds the folder and the levels above it that are missing, all of the same kind.
Problem addLevels(Engine& engine, WriteTransaction& transaction, int64_t account, ItemKind kind,
                  std::string_view name) {
    const auto folders = engine.database().folders(account);
    const std::string wanted = spelledAs(folders, std::string(name));
    for (const std::string& level : levelsOf(wanted)) {
        const FolderRow* other = namesake(folders, level);
        if (other && (level == wanted || other->name != level)) {
            return "the folder " + quoted(other->name) + " exists already";
        }
        if (!other) transaction.addFolder(account, level, kind, false);
    }
    return std::nullopt;
}

Problem addFolderFor(Engine& engine, WriteTransaction& transaction, const AccountRow& account,
                     ItemKind kind, std::string_view name) {
    if (auto problem = problemOfFolderName(engine, account, name)) return problem;
    if (auto problem = addLevels(engine, transaction, account.id, kind, name)) return problem;
    transaction.commit();
    engine.refreshMirror(account.id);
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

Problem addFolder(Engine& engine, std::string_view address, ItemKind kind, std::string_view name) {
    const auto transaction = engine.database().begin();
    const auto account = engine.database().account(lowerAscii(address));
    if (!account) return noAccount(address);
    return addFolderFor(engine, *transaction, *account, kind, name);
}

Problem addPublicFolder(Engine& engine, ItemKind kind, std::string_view name) {
    const auto transaction = engine.database().begin();
    const auto account = engine.database().accountById(kPublicAccount);
    if (!account) throw DatabaseError("the account of the public folders is missing", false);
    return addFolderFor(engine, *transaction, *account, kind, name);
}

}  // namespace groupware
