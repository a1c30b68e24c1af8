// What an administrator does: data directories, domains, accounts and folders.
//
// Used by cvadmin. Each call is one durable change or none; what cannot be done is told as a
// Problem, one clear line for people. Addresses may be aliases, in any case of letters.
// DatabaseError is raised when the database itself fails.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "groupware/engine/Engine.h"
#include "groupware/engine/Problem.h"

namespace groupware {

/// Makes a data directory with its settings files, its database, its first domain and the links to
/// the store libraries that stand in libraryDirectory. It must not be one already.
Problem initDataDirectory(const DataPaths& paths, std::string_view domain,
                          std::string_view libraryDirectory);

Problem addDomain(Engine& engine, std::string_view domain);
/// With its default folders Calendar, Tasks and Contacts. Its domain must be a hosted one.
Problem addUser(Engine& engine, std::string_view address, std::string_view fullName,
                std::string_view password);
Problem removeUser(Engine& engine, std::string_view address);
Problem setPassword(Engine& engine, std::string_view address, std::string_view password);

/// How many days a password is good, from when it was set on (from now on when that is not known);
/// 0 for ever.
Problem setPasswordDays(Engine& engine, std::string_view address, int64_t days);
inline constexpr int64_t kMostPasswordDays = 36500;

enum class UserFlag { kDisabled, kFrozen, kMustChangePassword, kPublishesBusyTime };
Problem setUserFlag(Engine& engine, std::string_view address, UserFlag flag, bool on);

Problem addAlias(Engine& engine, std::string_view address, std::string_view alias);
Problem removeAlias(Engine& engine, std::string_view address, std::string_view alias);

/// The name may be a path, Work/Project; missing levels above it are made of the same kind.
Problem addFolder(Engine& engine, std::string_view address, ItemKind kind, std::string_view name);
/// A folder that belongs to nobody; who may do what there, grants tell.
Problem addPublicFolder(Engine& engine, ItemKind kind, std::string_view name);

/// With the folders below it; items, rights and tokens follow. The new name may be a path, too.
Problem renameFolder(Engine& engine, std::string_view address, std::string_view name,
                     std::string_view newName);

/// What goes with a folder, or with an account.
struct Contents {
    size_t folders = 0;  ///< below the folder; all of the account
    size_t items = 0;
};
/// The folders of that name and below it; none when there is none of that name.
std::vector<FolderRow> foldersFrom(Engine& engine, int64_t account, std::string_view name);
Contents contentsOf(Engine& engine, const std::vector<FolderRow>& folders);
/// With the folders below it. A default folder stays.
Problem removeFolder(Engine& engine, const AccountRow& account, std::string_view name);

}  // namespace groupware
