#include "groupware/engine/Engine.h"

#include <mutex>

#include "groupware/engine/Mirror.h"
#include "groupware/engine/Names.h"
#include "groupware/engine/PasswordChecker.h"
#include "groupware/engine/Settings.h"
#include "groupware/items/SnapshotCache.h"
#include "platform/PrivateProfile.h"
#include "platform/Registry.h"

namespace groupware {

namespace {

constexpr std::string_view kRegistryKey = "SOFTWARE\\Quindle Software\\Corvane";
constexpr size_t kMostRegistryBytes = 1024;
constexpr size_t kMostPathBytes = 2048;

struct ProcessEngine {
    std::mutex mutex;
    std::unique_ptr<Engine> engine;
};
ProcessEngine processEngine;

DataPaths registeredPaths() {
    const auto registered =
        platform::readRegistryText(kRegistryKey, "IniPath", kMostRegistryBytes).text;
    const size_t end = registered.rfind('\\');
    if (end == std::string::npos) {
        throw DatabaseError("the registry names no main settings file (IniPath)", false);
    }
    DataPaths paths = DataPaths::below(std::string_view(registered).substr(0, end));
    paths.mainSettings = registered;
    return paths;
}

std::string_view withoutClosingBackslash(std::string_view path) {
    while (path.ends_with('\\')) path.remove_suffix(1);
    return path;
}

/// What follows the directory and a backslash, when the path lies below the directory.
std::optional<std::string_view> below(std::string_view path, const std::string& directory) {
    if (path.size() <= directory.size() || path[directory.size()] != '\\' ||
        !equalsIgnoringCase(path.substr(0, directory.size()), directory)) {
        return std::nullopt;
    }
    return path.substr(directory.size() + 1);
}

/// Takes the first name off a relative path.
std::string_view takeName(std::string_view& path) {
    const size_t end = path.find('\\');
    const std::string_view name = path.substr(0, end);
    path = end == std::string_view::npos ? std::string_view() : path.substr(end + 1);
    return name;
}

}  // namespace

DataPaths DataPaths::below(std::string_view root) {
    const std::string directory(withoutClosingBackslash(root));
    return {directory,
            directory + "\\Mail",
            directory + "\\Public",
            directory + "\\Corvane.ini",
            directory + "\\UserSettings.ini",
            directory + "\\Domains.ini",
            directory + "\\corvane.db"};
}

Engine::Engine(DataPaths paths)
    : paths_(std::move(paths)),
      database_(openSqliteDatabase(paths_.database, false)),
      mirror_(std::make_unique<Mirror>(*database_)),
      passwords_(std::make_unique<PasswordChecker>()),
      snapshots_(std::make_unique<SnapshotCache>(*database_,
                                                 [this] { return mostSnapshotBytes(paths_); })) {}

Engine::~Engine() = default;

Engine& Engine::ofProcess() {
    const std::lock_guard lock(processEngine.mutex);
    auto& engine = processEngine.engine;
    if (!engine) engine = std::make_unique<Engine>(registeredPaths());
    return *engine;
}

void Engine::closeOfProcess() {
    const std::lock_guard lock(processEngine.mutex);
    processEngine.engine.reset();
}

void Engine::refreshMirror(int64_t account) {
    // Every login asks for the public folders, and of their account nothing has to be known.
    if (account == kPublicAccount) {
        return mirror_->refresh(account, [&] { return publicDirectory() + "\\"; });
    }
    if (const auto row = database_->accountById(account)) refreshMirror(*row);
}

void Engine::refreshMirror(const AccountRow& account) {
    mirror_->refresh(account.id, [&] { return mailDirectory(account); });
}

void Engine::followChanges(int64_t account) {
    if (const auto row = database_->accountById(account)) followChanges(*row);
}

void Engine::followChanges(const AccountRow& account) {
    mirror_->follow(account.id, [&] { return mailDirectory(account); });
}

std::string Engine::publicDirectory() const {
    const std::string set = platform::readProfileText(paths_.mainSettings, "Directories",
                                                      "PublicFolders", "", kMostPathBytes);
    return set.empty() ? paths_.publicFolders : std::string(withoutClosingBackslash(set));
}

std::vector<std::string> Engine::mirrorDifferences(const AccountRow& account) {
    return mirror_->differences(account.id, mailDirectory(account));
}

std::optional<AccountRow> Engine::findAccount(std::string_view address) {
    return database_->accountByAlias(lowerAscii(address));
}

std::string Engine::mailDirectory(const AccountRow& account) const {
    if (account.id == kPublicAccount) return publicDirectory() + "\\";
    const auto [mailbox, domain] = addressParts(account.address);
    std::string directory;
    directory.reserve(paths_.mail.size() + account.address.size() + 2);
    directory.append(paths_.mail).append("\\").append(domain).append("\\").append(mailbox);
    return directory += '\\';
}

std::string Engine::folderDirectory(const AccountRow& account, const FolderRow& folder) const {
    return mailDirectory(account) + folderDirectoryName(folder.name);
}

std::optional<FolderRow> Engine::folderBelow(std::string_view directory, int64_t owner) {
    const auto name = folderNameOf(directory);
    return name ? database_->folder(owner, *name) : std::nullopt;
}

std::optional<FolderRow> Engine::folderOfPerson(std::string_view directory) {
    auto rest = below(directory, paths_.mail);
    if (!rest) return std::nullopt;
    const std::string_view domain = takeName(*rest);
    const std::string_view mailbox = takeName(*rest);
    const auto account =
        database_->account(lowerAscii(std::string(mailbox) + "@" + std::string(domain)));
    return account ? folderBelow(*rest, account->id) : std::nullopt;
}

std::optional<FolderRow> Engine::folderByDirectory(std::string_view directory) {
    const std::string_view path = withoutClosingBackslash(directory);
    // Nearly all are people's, and where the public folders stand is a setting to be read.
    if (auto folder = database_->folderOfDirectory(path, [&] { return folderOfPerson(path); })) {
        return folder;
    }
    const auto rest = below(path, publicDirectory());
    return rest ? folderBelow(*rest, kPublicAccount) : std::nullopt;
}

}  // namespace groupware
