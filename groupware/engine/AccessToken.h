// The read-only access token of a folder: who knows it may read that folder without a login.
//
// It stands in the folder's row; the mirror writes it into the folder's class file, where the
// extension module looks for it. One that stands in the class file alone, from a former version or
// another program, holds as well until it is revoked. Used by cvadmin.
#pragma once

#include <string>

#include "groupware/engine/Engine.h"
#include "groupware/engine/Problem.h"

namespace groupware {

/// Empty when the folder has none.
std::string accessToken(Engine& engine, const AccountRow& owner, const FolderRow& folder);
/// Gives the folder a token, 32 hexadecimal digits, unless it has one; token is what it has then.
Problem makeAccessToken(Engine& engine, const AccountRow& owner, std::string_view folder,
                        std::string& token);
Problem removeAccessToken(Engine& engine, const AccountRow& owner, std::string_view folder);

}  // namespace groupware
