// What folders and the making of accounts have in common. Used inside groupware/engine.
#pragma once

#include <string>
#include <string_view>

#include "groupware/engine/Engine.h"
#include "groupware/engine/Problem.h"

namespace groupware {

/// Whether the account may have a folder of that name, going by the name alone.
Problem problemOfFolderName(const Engine& engine, const AccountRow& account, std::string_view name);

/// That there is no such folder, and what shows those that there are.
std::string noFolder(const AccountRow& owner, std::string_view folder);

}  // namespace groupware
