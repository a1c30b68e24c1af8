// An account's folders as cvadmin shows them, and the words for the kinds of folders.
#pragma once

#include <string_view>

#include "admin/Output.h"
#include "groupware/db/Database.h"

namespace admin {

/// "calendar", "tasks" or "contacts".
std::string_view kindWord(groupware::ItemKind kind);
/// The reverse; the command line has let no other word through.
groupware::ItemKind kindOfWord(std::string_view word);

void printFolders(groupware::Database& database, int64_t account);
Json foldersAsJson(groupware::Database& database, int64_t account);

}  // namespace admin
