// How cvadmin prints listings: aligned columns for people, JSON for programs.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace admin {

using Json = nlohmann::ordered_json;

/// "1 folder", "2 folders"
std::string countOf(size_t count, const std::string& word);

/// Prints rows as columns that line up. Nothing for no rows.
void printColumns(const std::vector<std::vector<std::string>>& rows);

/// Prints a JSON value; bytes that are no UTF-8 become U+FFFD.
void printJson(const Json& value);

}  // namespace admin
