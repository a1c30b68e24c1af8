// An account's folders, or the public ones, as cvadmin shows them, with who may use them, and the
// words for the kinds of folders.
#pragma once

#include <string_view>

#include "admin/Output.h"
#include "groupware/engine/Engine.h"

namespace admin {

/// "calendar", "tasks" or "contacts".
std::string_view kindWord(groupware::ItemKind kind);
/// The reverse; the command line has let no other word through.
groupware::ItemKind kindOfWord(std::string_view word);

void printFolders(groupware::Engine& engine, const groupware::AccountRow& owner);
Json foldersAsJson(groupware::Engine& engine, const groupware::AccountRow& owner);

}  // namespace admin
