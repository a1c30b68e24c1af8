// Whole folders in and out: the import and export of iCalendar (and vCard) texts.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "groupware/engine/Engine.h"

namespace groupware {

struct ImportCounts {
    uint32_t found = 0;     ///< distinct items in the text
    uint32_t imported = 0;  ///< of these, added or changed in the folder
    uint32_t failed = 0;    ///< of these, left out since they could not be read
    std::string firstProblem;
};

/// Counts the items of that kind in a text by their UIDs, without storing anything.
uint32_t countItems(ItemKind kind, std::string_view text);

/// Adds every item of the text to the folder, or replaces the item of the same UID unless it is the
/// same already: all of them in one transaction each of at most a few hundred items, so that other
/// writers get their turn. Progress is called now and then with the items done so far.
ImportCounts importItems(Engine& engine, const FolderRow& folder, std::string_view text,
                         const std::function<void(uint32_t done, uint32_t total)>& progress = {});

/// The same in one transaction: when one item cannot be read, nothing is stored.
ImportCounts importAtOnce(Engine& engine, const FolderRow& folder, std::string_view text);

/// The folder as one text: one VCALENDAR with each time zone once (further ones where items define
/// a zone differently), or vCards one after another. Importing it into an empty folder gives the
/// same items.
std::string exportFolder(Engine& engine, const FolderRow& folder,
                         const ProgressCall& progress = {});

}  // namespace groupware
