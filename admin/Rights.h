// The words for rights in folders, as they are typed and shown.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace admin {

/// What the words let people do, for --help.
extern const char* const kRightsHelp;

/// The rights that a list names, words with commas between them; nothing when a word is unknown.
std::optional<uint32_t> rightsOfList(std::string_view list);

/// The words for these rights.
std::vector<std::string> rightsWords(uint32_t rights);
/// The same as a list: read,insert
std::string rightsList(uint32_t rights);

}  // namespace admin
