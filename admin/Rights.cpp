#include "admin/Rights.h"

#include "groupware/engine/Sharing.h"

namespace admin {

namespace {

struct RightWord {
    const char* word;
    uint32_t rights;
};

constexpr RightWord kRightWords[] = {
    {"read", groupware::kReadRight},
    {"write", groupware::kWriteRight},
    {"insert", groupware::kInsertRight},
    {"delete", groupware::kDeleteRight},
};
constexpr std::string_view kAllWord = "all";

std::optional<uint32_t> rightsOfWord(std::string_view word) {
    if (word == kAllWord) return groupware::kAllRights;
    for (const RightWord& row : kRightWords) {
        if (row.word == word) return row.rights;
    }
    return std::nullopt;
}

}  // namespace

const char* const kRightsHelp =
    "To see a folder and fetch its items takes read; to add an item, insert; to remove one, "
    "delete;\nto change one, write and delete; to upload several events as one file, write, insert "
    "and delete.\nall is every right. Rights are given for this one folder, not for folders below "
    "it, and\ntake the place of those given before.";

std::optional<uint32_t> rightsOfList(std::string_view list) {
    uint32_t rights = 0;
    for (;;) {
        const size_t end = list.find(',');
        const auto named = rightsOfWord(list.substr(0, end));
        if (!named) return std::nullopt;
        rights |= *named;
        if (end == std::string_view::npos) return rights;
        list.remove_prefix(end + 1);
    }
}

std::vector<std::string> rightsWords(uint32_t rights) {
    if (rights == groupware::kAllRights) return {std::string(kAllWord)};
    std::vector<std::string> words;
    for (const RightWord& row : kRightWords) {
        if ((rights & row.rights) != 0) words.emplace_back(row.word);
    }
    return words;
}

std::string rightsList(uint32_t rights) {
    std::string list;
    for (const std::string& word : rightsWords(rights)) list += (list.empty() ? "" : ",") + word;
    return list;
}

}  // namespace admin
