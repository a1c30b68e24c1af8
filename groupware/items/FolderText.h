// Puts the texts of a folder's items together to one.
#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

#include "groupware/db/Database.h"

namespace groupware {

class FolderText {
  public:
    explicit FolderText(ItemKind kind) : kind_(kind) {}

    /// Adds the item's components, or its vCard, and those of its time zones not added before.
    void add(std::string_view text);
    std::string whole() const;

  private:
    ItemKind kind_;
    std::unordered_set<std::string> knownZones_;
    std::string zones_;
    std::string components_;
};

}  // namespace groupware
