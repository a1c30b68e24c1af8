// The files that mirror folders below one account's directory.
//
// Called by the Mirror while it holds the account's lock; each function looks before it writes.
#pragma once

#include <cstdint>
#include <set>
#include <string>

#include "groupware/db/Database.h"

namespace groupware {

/// The account's own files beside its folders.
bool ensureAccountFiles(const std::string& root);

/// The folder's directory, its class and its change marker with the folder's stamp. When the marker
/// cannot be written it is removed instead, so that nobody takes an old stamp for the newest.
/// False when something is not as it should be.
bool ensureFolder(const std::string& directory, const FolderRow& folder);

/// Removes directories of groupware folders other than the expected ones (lower-case names below
/// the root, levels divided by backslashes). Directories of other classes stay.
bool removeStrangers(const std::string& root, const std::set<std::string>& expected);

/// A folder's stamp as its marker tells it: 2026-11-21T11:40:00.123Z.
std::string stampText(int64_t stampMs);

}  // namespace groupware
