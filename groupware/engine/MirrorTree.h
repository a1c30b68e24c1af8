// The files that mirror folders below one account's directory.
//
// Called by the Mirror while it holds the account's lock; each function looks before it writes.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "groupware/db/Database.h"

namespace groupware {

/// The account's own files beside its folders.
bool ensureAccountFiles(const std::string& root);

/// The folder's directory, its class and token, and its change marker with the folder's stamp.
/// False when something is not as it should be.
bool ensureFolder(const std::string& directory, const FolderRow& folder);

/// The change marker alone. When it cannot be written it is removed instead, so that nobody takes
/// an old stamp for the newest, and false is returned.
bool writeMarker(const std::string& directory, const FolderRow& folder);

/// Removes directories of groupware folders other than the expected ones (lower-case names below
/// the root, levels divided by backslashes). Directories of other classes stay.
bool removeStrangers(const std::string& root, const std::set<std::string>& expected);

/// What ensureAccountFiles() and ensureFolder() would change, in words; empty for nothing.
std::vector<std::string> accountDifferences(const std::string& root);
std::vector<std::string> folderDifferences(const std::string& directory, const FolderRow& folder);
/// Directories that removeStrangers() would remove.
std::vector<std::string> strangers(const std::string& root, const std::set<std::string>& expected);

/// The token in the class file of a folder's directory; empty for none.
std::string tokenIn(const std::string& directory);

/// A folder's stamp as its marker tells it: 2026-11-21T11:40:00.123Z.
std::string stampText(int64_t stampMs);

}  // namespace groupware
