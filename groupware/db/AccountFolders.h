// An account's folders as the database's answers remember them: read at once, asked in many ways.
//
// A value; the answers share it unchanged among all threads and put an amended copy in its place.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "groupware/db/Database.h"

namespace groupware {

/// The stamps that changes of items have given to folders.
using FolderStamps = std::map<FolderKey, int64_t>;

class AccountFolders {
  public:
    /// The rows are in the order of their numbers; count is the account's own count of changes.
    AccountFolders(int64_t count, std::vector<FolderRow> rows);

    /// Grows with every change of the account, its folders and their items. Items leave the
    /// account's row alone: the stamps of the folders are part of the version.
    int64_t version() const { return version_; }
    const std::vector<FolderRow>& rows() const { return rows_; }
    std::optional<FolderRow> named(std::string_view name) const;
    std::optional<FolderRow> defaultOf(ItemKind kind) const;

    void setStamp(FolderKey folder, int64_t stamp);

  private:
    int64_t version_;
    std::vector<FolderRow> rows_;
    std::vector<size_t> byName_;  ///< places in rows_, in the order of names without case
};

/// What the answers know an account's folders by.
inline std::string foldersQuestion(int64_t account) {
    return "folders " + std::to_string(account);
}

}  // namespace groupware
