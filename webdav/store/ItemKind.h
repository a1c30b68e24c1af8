// The three kinds of items, each described once: names, words and store operations.
//
// Path resolution, listings, reports and the item methods are written once over this description.
// The store's operations name an item in different ways (a number, an identifier text) and take
// their arguments in different orders; here they have one shape, and the item's own record carries
// its number or identifier.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "webdav/store/StoreHandles.h"

namespace webdav {

/// A folder as the store operations need it.
struct FolderAccess {
    std::string folderPath;
    std::string account;  ///< the address whose data is addressed, or "[PUBLIC]"
    std::string actor;    ///< who acts: an address or "guest"
};

/// A range in server local time; all zero leaves a side open.
struct ItemRange {
    StoreDateTime start{};
    StoreDateTime end{};
};

struct ItemOperations {
    /// As the store has them, since listings call them for thousands of records.
    void (*StoreOperations::*init)(StoreItem* item);
    void (*StoreOperations::*free)(StoreItem* item);
    void (*copy)(StoreItem* to, const StoreItem* from);
    void (*defaultFolder)(StoreUserHandle user, char* path);
    int32_t (*list)(StoreItem* items, uint32_t* count, const FolderAccess& folder);
    int32_t (*query)(StoreItem* items, uint32_t* count, const ItemRange& range,
                     const FolderAccess& folder);
    /// Sets the record's number or identifier.
    bool (*find)(StoreItem* item, const std::string& uid, const FolderAccess& folder);
    /// The following name the item by its record's number or identifier.
    int32_t (*get)(StoreItem* item, const FolderAccess& folder);
    int32_t (*toText)(const StoreItem& item, const FolderAccess& folder, bool plainVCard,
                      char** text);
    int32_t (*read)(StoreItem* item, const char* text, const FolderAccess& folder);
    int32_t (*write)(StoreItem* item, const FolderAccess& folder);
    int32_t (*edit)(StoreItem* item, const FolderAccess& folder);
    int32_t (*remove)(const StoreItem& item, const FolderAccess& folder);
    int32_t (*setRelatedData)(const StoreItem& item, const FolderAccess& folder, const char* text,
                              uint32_t length);
};

struct ItemKind {
    const char* folderType;   ///< "IPF.Appointment"
    const char* extension;    ///< of item names, ".ics"
    const char* markerFile;   ///< holds a folder's change stamp
    const char* logWord;      ///< "calendar", "tasks", "contacts" in the lines of path resolution
    const char* ownKeyword;   ///< URL segment of the account's own folder
    const char* contentType;  ///< of an item's text on GET
    ItemOperations operations;
};

extern const ItemKind kCalendarKind;
extern const ItemKind kTaskKind;
extern const ItemKind kContactKind;

/// The kind of a folder type, compared exactly; null when it is none of an item folder.
const ItemKind* KindOfFolderType(std::string_view folderType);

/// "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ": entity tags and change stamps.
void AppendStamp(std::string& text, const StoreDateTime& time);
std::string FormatStamp(const StoreDateTime& time);

/// The number or identifier of an item as log lines show it.
std::string ItemNumberText(const ItemKind& kind, const StoreItem& item);

}  // namespace webdav
