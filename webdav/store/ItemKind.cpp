#include "webdav/store/ItemKind.h"

#include <array>
#include <cstring>

#include "webdav/base/CStr.h"
#include "webdav/store/StoreOperations.h"

namespace webdav {

namespace {

using Operations = StoreOperations;

// What the store shall write for the single occurrences of a query.
constexpr const char* kSingleOccurrence = "[SINGLE OCCURRENCE]";

/// The store's identifier of a contact, which need not be terminated when it fills its field.
std::string identifierOf(const StoreItem& item) {
    const std::string_view field(item.identifier, sizeof item.identifier);
    return std::string(field.substr(0, field.find('\0')));
}

// The shapes in which the store's operations take their arguments. Which operation is meant, the
// tables below say.

template <auto kOperation>
void copyRecord(StoreItem* to, const StoreItem* from) {
    (store().*kOperation)(to, from);
}

template <auto kOperation>
void folderOfUser(StoreUserHandle user, char* path) {
    (store().*kOperation)(user, path);
}

template <auto kOperation>
int32_t listFolder(StoreItem* items, uint32_t* count, const FolderAccess& folder) {
    return (store().*kOperation)(items, count, folder.folderPath.c_str());
}

template <auto kOperation>
bool findNumber(StoreItem* item, const std::string& uid, const FolderAccess& folder) {
    return (store().*kOperation)(folder.folderPath.c_str(), uid.c_str(), &item->itemNumber) != 0;
}

template <auto kOperation>
int32_t getByNumber(StoreItem* item, const FolderAccess& folder) {
    return (store().*kOperation)(item, item->itemNumber, folder.folderPath.c_str(), 0);
}

template <auto kOperation>
int32_t toICalendar(const StoreItem& item, const FolderAccess& folder, bool, char** text) {
    return (store().*kOperation)(&item, folder.folderPath.c_str(), folder.account.c_str(), text);
}

template <auto kOperation>
int32_t readText(StoreItem* item, const char* text, const FolderAccess& folder) {
    return (store().*kOperation)(item, text, folder.account.c_str());
}

template <auto kOperation>
int32_t writeRecord(StoreItem* item, const FolderAccess& folder) {
    return (store().*kOperation)(item, folder.folderPath.c_str(), folder.actor.c_str());
}

template <auto kOperation>
int32_t editByNumber(StoreItem* item, const FolderAccess& folder) {
    return (store().*kOperation)(item, item->itemNumber, folder.folderPath.c_str(),
                                 folder.actor.c_str());
}

template <auto kOperation>
int32_t removeByNumber(const StoreItem& item, const FolderAccess& folder) {
    return (store().*kOperation)(folder.folderPath.c_str(), item.itemNumber, folder.actor.c_str());
}

template <auto kOperation>
int32_t setDataByNumber(const StoreItem& item, const FolderAccess& folder, const char* text,
                        uint32_t length) {
    return (store().*kOperation)(item.itemNumber, folder.folderPath.c_str(), text, length);
}

int32_t listEvents(StoreItem* items, uint32_t* count, const FolderAccess& folder) {
    return store().CV_CalGetAllItemsEx(items, count, folder.folderPath.c_str(),
                                       folder.actor.c_str());
}

int32_t queryEvents(StoreItem* items, uint32_t* count, const ItemRange& range,
                    const FolderAccess& folder) {
    return store().CV_CalGetMultipleCalItemsEx(items, count, &range.start, &range.end,
                                               folder.folderPath.c_str(), folder.actor.c_str(),
                                               kSingleOccurrence);
}

// The store has no range query for tasks: all are listed.
int32_t queryTasks(StoreItem* items, uint32_t* count, const ItemRange&,
                   const FolderAccess& folder) {
    return listFolder<&Operations::CV_TaskGetAllItemsEx>(items, count, folder);
}

int32_t queryContacts(StoreItem* items, uint32_t* count, const ItemRange&,
                      const FolderAccess& folder) {
    return store().CV_ContactGetMultipleItemsEx(items, count, folder.folderPath.c_str(),
                                                folder.actor.c_str(), 0, 0, 0, 0);
}

bool findContact(StoreItem* item, const std::string& uid, const FolderAccess& folder) {
    return store().CV_ContactGetIDFromvCardUid(uid.c_str(), folder.folderPath.c_str(), item) != 0;
}

// The store may write the record while it still reads the identifier, which is therefore copied.
int32_t getContact(StoreItem* item, const FolderAccess& folder) {
    return store().CV_ContactGetItemEx(item, identifierOf(*item).c_str(), folder.folderPath.c_str(),
                                       0);
}

int32_t toVCard(const StoreItem& item, const FolderAccess& folder, bool plainVCard, char** text) {
    return store().CV_ContactItemToVCardString(&item, folder.folderPath.c_str(), plainVCard ? 1 : 0,
                                               text);
}

int32_t editContact(StoreItem* item, const FolderAccess& folder) {
    return store().CV_ContactEditItem(item, identifierOf(*item).c_str(), folder.folderPath.c_str(),
                                      folder.actor.c_str());
}

int32_t removeContact(const StoreItem& item, const FolderAccess& folder) {
    return store().CV_ContactDeleteItem(folder.folderPath.c_str(), identifierOf(item).c_str(),
                                        folder.actor.c_str());
}

int32_t setContactData(const StoreItem& item, const FolderAccess& folder, const char* text,
                       uint32_t length) {
    return store().CV_ContactSetRelatedDAVData(identifierOf(item).c_str(),
                                               folder.folderPath.c_str(), text, length);
}

constexpr auto kPairs = [] {
    std::array<std::array<char, 2>, 100> pairs{};
    for (size_t i = 0; i < pairs.size(); ++i)
        pairs[i] = {static_cast<char>('0' + i / 10), static_cast<char>('0' + i % 10)};
    return pairs;
}();

/// Writes a number of two digits.
void writePair(char* out, unsigned number) {
    std::memcpy(out, kPairs[number].data(), 2);
}

}  // namespace

const ItemKind kCalendarKind{
    .folderType = "IPF.Appointment",
    .extension = ".ics",
    .markerFile = "Calendar.mrk",
    .logWord = "calendar",
    .ownKeyword = "calendar",
    .contentType = "text/calendar",
    .operations = {
        .init = &Operations::CV_CalInitCalItemEx,
        .free = &Operations::CV_CalFreeCalItemEx,
        .copy = copyRecord<&Operations::CV_CalCopyCalItemEx>,
        .defaultFolder = folderOfUser<&Operations::CV_CalGetDefaultFolder>,
        .list = listEvents,
        .query = queryEvents,
        .find = findNumber<&Operations::CV_CalGetIDFromiCalUid>,
        .get = getByNumber<&Operations::CV_CalGetCalItemEx>,
        .toText = toICalendar<&Operations::CV_CalItemToICalendarStringEx>,
        .read = readText<&Operations::CV_CalReadFromICalendarString>,
        .write = writeRecord<&Operations::CV_CalWriteCalItem>,
        .edit = editByNumber<&Operations::CV_CalEditCalItem>,
        .remove = removeByNumber<&Operations::CV_CalDeleteCalItem>,
        .setRelatedData = setDataByNumber<&Operations::CV_CalSetRelatedDAVData>,
    }};

const ItemKind kTaskKind{
    .folderType = "IPF.Task",
    .extension = ".ics",
    .markerFile = "TaskList.mrk",
    .logWord = "tasks",
    .ownKeyword = "tasklist",
    .contentType = "text/calendar",
    .operations = {
        .init = &Operations::CV_TaskInitTaskItemEx,
        .free = &Operations::CV_TaskFreeTaskItemEx,
        .copy = copyRecord<&Operations::CV_TaskCopyTaskItemEx>,
        .defaultFolder = folderOfUser<&Operations::CV_TaskGetDefaultFolder>,
        .list = listFolder<&Operations::CV_TaskGetAllItemsEx>,
        .query = queryTasks,
        .find = findNumber<&Operations::CV_TaskGetIDFromiCalUid>,
        .get = getByNumber<&Operations::CV_TaskGetTaskItemEx>,
        .toText = toICalendar<&Operations::CV_TaskItemToICalendarString>,
        .read = readText<&Operations::CV_TaskReadFromICalendarString>,
        .write = writeRecord<&Operations::CV_TaskWriteTaskItemEx>,
        .edit = editByNumber<&Operations::CV_TaskEditTaskItemEx>,
        .remove = removeByNumber<&Operations::CV_TaskDeleteTaskItem>,
        .setRelatedData = setDataByNumber<&Operations::CV_TaskSetRelatedDAVData>,
    }};

const ItemKind kContactKind{
    .folderType = "IPF.Contact",
    .extension = ".vcf",
    .markerFile = "AddrBook.mrk",
    .logWord = "contacts",
    .ownKeyword = "addressbook",
    .contentType = "text/vcard",
    .operations = {
        .init = &Operations::CV_ContactInitItemEx,
        .free = &Operations::CV_ContactFreeItemEx,
        .copy = copyRecord<&Operations::CV_ContactCopyItemEx>,
        .defaultFolder = folderOfUser<&Operations::CV_ContactGetDefaultFolder>,
        .list = listFolder<&Operations::CV_ContactGetAllItemsEx>,
        .query = queryContacts,
        .find = findContact,
        .get = getContact,
        .toText = toVCard,
        .read = readText<&Operations::CV_ContactReadFromVCardString>,
        .write = writeRecord<&Operations::CV_ContactWriteItemEx>,
        .edit = editContact,
        .remove = removeContact,
        .setRelatedData = setContactData,
    }};

const ItemKind* KindOfFolderType(std::string_view folderType) {
    for (const ItemKind* kind : {&kCalendarKind, &kTaskKind, &kContactKind})
        if (folderType == kind->folderType) return kind;
    return nullptr;
}

void AppendStamp(std::string& text, const StoreDateTime& time) {
    const auto [year, month, weekDay, day, hour, minute, second, milliseconds] = time;
    const bool isCommon = year < 10000 && month < 100 && day < 100 && hour < 100 && minute < 100 &&
                          second < 100 && milliseconds < 1000;
    if (!isCommon) {
        text += FormatText("%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", year, month, day, hour, minute,
                           second, milliseconds);
        return;
    }
    // A listing has a stamp for each item: printf would be a third of its work.
    char stamp[] = "0000-00-00T00:00:00.000Z";
    writePair(stamp, year / 100U);
    writePair(stamp + 2, year % 100U);
    writePair(stamp + 5, month);
    writePair(stamp + 8, day);
    writePair(stamp + 11, hour);
    writePair(stamp + 14, minute);
    writePair(stamp + 17, second);
    writePair(stamp + 20, milliseconds / 10U);
    stamp[22] = static_cast<char>('0' + milliseconds % 10);
    text.append(stamp, sizeof stamp - 1);
}

std::string FormatStamp(const StoreDateTime& time) {
    std::string stamp;
    AppendStamp(stamp, time);
    return stamp;
}

std::string ItemNumberText(const ItemKind& kind, const StoreItem& item) {
    return &kind == &kContactKind ? identifierOf(item) : std::to_string(item.itemNumber);
}

}  // namespace webdav
