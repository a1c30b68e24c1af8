#include "admin/FolderListing.h"

namespace admin {

using groupware::FolderRow;
using groupware::ItemKind;

namespace {

struct KindWord {
    ItemKind kind;
    std::string_view word;
};

constexpr KindWord kKindWords[] = {
    {ItemKind::kEvent, "calendar"},
    {ItemKind::kTask, "tasks"},
    {ItemKind::kContact, "contacts"},
};

}  // namespace

std::string_view kindWord(ItemKind kind) {
    for (const KindWord& row : kKindWords) {
        if (row.kind == kind) return row.word;
    }
    return "unknown";
}

ItemKind kindOfWord(std::string_view word) {
    for (const KindWord& row : kKindWords) {
        if (row.word == word) return row.kind;
    }
    return ItemKind::kEvent;
}

void printFolders(groupware::Database& database, int64_t account) {
    std::vector<std::vector<std::string>> rows;
    for (const FolderRow& folder : database.folders(account)) {
        rows.push_back({folder.name, std::string(kindWord(folder.kind)),
                        std::to_string(database.itemCount(folder.key)) + " items",
                        folder.isDefault ? "default" : ""});
    }
    printColumns(rows);
}

Json foldersAsJson(groupware::Database& database, int64_t account) {
    Json list = Json::array();
    for (const FolderRow& folder : database.folders(account)) {
        list.push_back({{"name", folder.name},
                        {"kind", kindWord(folder.kind)},
                        {"default", folder.isDefault},
                        {"items", database.itemCount(folder.key)}});
    }
    return list;
}

}  // namespace admin
