// What the operations of the calendar library have in common, whatever the kind of item: arguments
// tested, statuses made of what is raised, texts and paths handed out.
//
// Included by api/CVCalendar.cpp alone. Nothing raised leaves these functions.
#pragma once

#include <cstdlib>
#include <string>
#include <string_view>

#include "abi/StoreTypes.h"
#include "groupware/api/Guarded.h"
#include "groupware/engine/AccountHandle.h"
#include "groupware/engine/Engine.h"
#include "groupware/ical/TextEdit.h"
#include "groupware/items/ItemRecord.h"
#include "groupware/items/ItemStore.h"
#include "platform/LocalTime.h"

namespace groupware {

inline constexpr ItemKind kEvent = ItemKind::kEvent;
inline constexpr ItemKind kTask = ItemKind::kTask;
inline constexpr ItemKind kContact = ItemKind::kContact;

inline ItemStore store(ItemKind kind) {
    return ItemStore(Engine::ofProcess(), kind);
}

/// The body's status, or what it raised as one.
template <typename Body>
int32_t statusOf(Body&& body) noexcept {
    return guarded(int32_t{STORE_IO_ERROR}, [&]() -> int32_t {
        try {
            return body();
        } catch (const DatabaseError& error) {
            if (!error.busy()) throw;
            tellFailure(error.what());
            return STORE_BUSY;
        }
    });
}

/// A copy that the caller gives back with CV_GWDeletePointer.
inline char* handOutText(std::string_view text) {
    auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy == nullptr) throw std::bad_alloc();
    text.copy(copy, text.size());
    copy[text.size()] = '\0';
    return copy;
}

/// Paths are never cut: a part of one would name another folder.
inline void handOutPath(char* buffer, std::string_view path) {
    if (buffer == nullptr || path.size() >= STORE_PATH_SIZE) return;
    path.copy(buffer, path.size());
    buffer[path.size()] = '\0';
}

template <typename Find>
void folderOf(StoreUserHandle user, char* path, Find find) {
    if (path != nullptr) *path = '\0';
    guarded([&] {
        const AccountHandle* handle = behind(user);
        if (handle == nullptr) return;
        Engine& engine = Engine::ofProcess();
        engine.followChanges(handle->account);
        if (const auto folder = find(engine.database(), handle->account.id)) {
            handOutPath(path, engine.folderDirectory(handle->account, *folder));
        }
    });
}

inline void defaultFolder(StoreUserHandle user, char* path, ItemKind kind) {
    folderOf(user, path, [kind](Database& database, int64_t account) {
        return database.defaultFolder(account, kind);
    });
}

/// Empty when the account has no such address book.
inline void contactFolder(StoreUserHandle user, char* path, std::string_view name) {
    folderOf(user, path, [name](Database& database, int64_t account) {
        auto folder = database.folder(account, name);
        return folder && folder->kind == kContact ? folder : std::nullopt;
    });
}

inline int32_t list(ItemKind kind, StoreItem* items, uint32_t* count, const char* path) {
    if (items == nullptr || count == nullptr || path == nullptr) return STORE_BAD_DATA;
    return statusOf([&] { return store(kind).list(path, items, count); });
}

inline int32_t get(ItemKind kind, StoreItem* item, uint32_t number, const char* path) {
    if (item == nullptr || path == nullptr) return STORE_BAD_DATA;
    return statusOf([&] { return store(kind).get(path, number, *item); });
}

inline int32_t findNumber(ItemKind kind, const char* path, const char* uid, uint32_t* number) {
    if (path == nullptr || uid == nullptr || number == nullptr) return 0;
    return guarded(0, [&] {
        const auto found = store(kind).numberOfUid(path, uid);
        if (found) *number = static_cast<uint32_t>(*found);
        return found ? 1 : 0;
    });
}

inline int32_t textOf(ItemKind kind, const StoreItem* item, char** text) {
    if (text == nullptr) return STORE_BAD_DATA;
    *text = nullptr;
    if (item == nullptr) return STORE_BAD_DATA;
    return statusOf([&]() -> int32_t {
        ParsedPointer own;
        const int32_t status = store(kind).textOf(*item, own);
        if (status != STORE_OK) return status;
        *text = own->facts.wholeCharacters ? handOutText(own->text)
                                           : handOutText(withWholeCharacters(own->text));
        return STORE_OK;
    });
}

inline int32_t read(ItemKind kind, StoreItem* item, const char* text) {
    if (item == nullptr || text == nullptr) return STORE_BAD_DATA;
    return statusOf([&] { return store(kind).read(text, *item); });
}

inline int32_t write(ItemKind kind, StoreItem* item, const char* path) {
    if (item == nullptr || path == nullptr) return STORE_BAD_DATA;
    return statusOf([&] { return store(kind).write(path, *item); });
}

inline int32_t edit(ItemKind kind, StoreItem* item, int64_t number, const char* path) {
    if (item == nullptr || path == nullptr) return STORE_BAD_DATA;
    return statusOf([&] { return store(kind).edit(path, number, *item); });
}

inline int32_t remove(ItemKind kind, const char* path, int64_t number) {
    if (path == nullptr) return STORE_BAD_DATA;
    return statusOf([&] { return store(kind).remove(path, number); });
}

/// The text ends at a NUL at the latest, as it does for the operations that take no length.
inline int32_t setText(ItemKind kind, int64_t number, const char* path, const char* text,
                       uint32_t length) {
    if (path == nullptr || text == nullptr) return STORE_BAD_DATA;
    const std::string_view whole(text, length);
    return statusOf(
        [&] { return store(kind).setText(path, number, whole.substr(0, whole.find('\0'))); });
}

/// Calls with the number of the contact of that identifier; 0, which is no item's, when it is not
/// there any more.
template <typename Change>
int32_t withContact(const char* path, const char* identifier, Change change) {
    if (path == nullptr || identifier == nullptr) return STORE_BAD_DATA;
    return statusOf([&]() -> int32_t {
        return change(store(kContact).numberOfIdentifier(path, identifier).value_or(0));
    });
}

inline void setUid(ItemKind kind, StoreItem* item, const char* uid) {
    if (item == nullptr || uid == nullptr) return;
    guarded([&] { store(kind).setUid(*item, uid); });
}

/// All zero leaves the side open. In the hour that occurs twice when the clocks are set back a
/// start means the first and an end the last, so that a range has too much rather than too little.
inline int64_t rangeSide(const StoreDateTime* time, int64_t open) {
    if (time == nullptr) return open;
    const platform::DateTime local{time->year, time->month,  time->dayOfWeek, time->day,
                                   time->hour, time->minute, time->second,    time->milliseconds};
    if (local == platform::DateTime{}) return open;
    return open == INT64_MAX ? platform::lastMsFromLocal(local) : platform::msFromLocal(local);
}

/// True for a path below the mail directory; one that could lead out of it again is none.
inline bool isMessagePath(const Engine& engine, std::string_view path) {
    const std::string root = engine.paths().mail + "\\";
    return path.starts_with(root) && path.find("..") == std::string_view::npos &&
           path.find('/') == std::string_view::npos;
}

inline void initItem(StoreItem* item) {
    if (item != nullptr) initRecord(*item);
}

inline void freeItem(StoreItem* item) {
    if (item != nullptr) freeRecord(*item);
}

inline void copyItem(StoreItem* to, const StoreItem* from) {
    if (to != nullptr && from != nullptr) guarded([&] { copyRecord(*to, *from); });
}

}  // namespace groupware
