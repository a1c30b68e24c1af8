// What an administrator does: data directories, domains, accounts and folders.
//
// Used by cvadmin. Each call is one durable change or none; what cannot be done is told as a
// Problem, one clear line for people. DatabaseError is raised when the database itself fails.
#pragma once

#include <string_view>

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

enum class UserFlag { kDisabled, kFrozen, kMustChangePassword };
Problem setUserFlag(Engine& engine, std::string_view address, UserFlag flag, bool on);

Problem addAlias(Engine& engine, std::string_view address, std::string_view alias);
Problem removeAlias(Engine& engine, std::string_view address, std::string_view alias);

/// The name may be a path, Work/Project; missing levels above it are made of the same kind.
Problem addFolder(Engine& engine, std::string_view address, ItemKind kind, std::string_view name);
/// A folder that belongs to nobody; who may do what there, grants tell.
Problem addPublicFolder(Engine& engine, ItemKind kind, std::string_view name);

}  // namespace groupware
