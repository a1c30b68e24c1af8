// The read-only access token of a folder: who knows it may read that folder without a login.
//
// It stands in the folder's class file alone, where the extension module looks for it, and goes
// with the folder. The file is readable for its owner only. Used by cvadmin.
#pragma once

#include <string>

#include "groupware/engine/Engine.h"
#include "groupware/engine/Problem.h"

namespace groupware {

/// Empty when the folder has none.
std::string accessToken(Engine& engine, const AccountRow& owner, const FolderRow& folder);
/// Gives the folder a token, 32 hexadecimal digits, unless it has one.
Problem makeAccessToken(Engine& engine, const AccountRow& owner, const FolderRow& folder);
Problem removeAccessToken(Engine& engine, const AccountRow& owner, const FolderRow& folder);

}  // namespace groupware
