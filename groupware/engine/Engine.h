// The groupware of one data directory: database, settings, directory tree, accounts.
//
// Both store libraries and cvadmin work through one Engine. The database is the truth; the
// directories and marker files below Mail\ and Public\ mirror it. An account's tree is brought up
// to date before a path of it or a handle on it is handed out. Safe from every thread.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "groupware/db/Database.h"

namespace groupware {

class Mirror;
class PasswordChecker;
class SnapshotCache;

/// Where the pieces of a data directory stand; all by the product's path rule, directories without
/// a closing backslash.
struct DataPaths {
    std::string root;
    std::string mail;
    std::string publicFolders;   ///< unless the main settings name another, see publicDirectory()
    std::string mainSettings;    ///< Corvane.ini
    std::string userSettings;    ///< UserSettings.ini
    std::string domainSettings;  ///< Domains.ini
    std::string database;        ///< corvane.db

    static DataPaths below(std::string_view root);
};

class Engine {
  public:
    /// Opens an existing data directory; raises DatabaseError when that cannot be.
    explicit Engine(DataPaths paths);
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    /// The engine of this process's store libraries, opened at first use on the directory that the
    /// registry names; raises DatabaseError when it cannot be opened.
    static Engine& ofProcess();
    /// Closes that engine, so that its next use asks the registry anew. Only while nobody uses it.
    static void closeOfProcess();

    const DataPaths& paths() const { return paths_; }
    Database& database() { return *database_; }
    PasswordChecker& passwords() { return *passwords_; }
    SnapshotCache& snapshots() { return *snapshots_; }

    /// Brings the directories and marker files of an account (or of the public folders) up to date.
    void refreshMirror(int64_t account);
    void refreshMirror(const AccountRow& account);
    /// The same for an account whose handle was handed out a moment ago: what has changed since is
    /// mirrored, but nobody looks whether files were lost meanwhile.
    void followChanges(int64_t account);
    void followChanges(const AccountRow& account);

    /// The directory of the public folders by the main settings, without a closing backslash.
    std::string publicDirectory() const;
    /// How they differ from what they are to be, in words; looks at all of them.
    std::vector<std::string> mirrorDifferences(const AccountRow& account);

    /// The account of that address or alias, in any case of letters.
    std::optional<AccountRow> findAccount(std::string_view address);

    /// The account's directory, with a closing backslash.
    std::string mailDirectory(const AccountRow& account) const;
    /// The directory of a folder, without a closing backslash.
    std::string folderDirectory(const AccountRow& account, const FolderRow& folder) const;
    /// The folder whose directory that is (a closing backslash does no harm); names match without
    /// regard to ASCII case.
    std::optional<FolderRow> folderByDirectory(std::string_view directory);

  private:
    std::optional<FolderRow> folderOfPerson(std::string_view directory);
    std::optional<FolderRow> folderBelow(std::string_view directory, int64_t owner);

    DataPaths paths_;
    std::unique_ptr<Database> database_;
    std::unique_ptr<Mirror> mirror_;
    std::unique_ptr<PasswordChecker> passwords_;
    std::unique_ptr<SnapshotCache> snapshots_;
};

}  // namespace groupware
