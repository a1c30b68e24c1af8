#include "abi/CVCalendar.h"

#include <string>

#include "groupware/api/ItemCalls.h"
#include "groupware/engine/Names.h"
#include "groupware/ical/VCard.h"
#include "groupware/items/FreeBusy.h"
#include "groupware/items/MessageFile.h"
#include "groupware/items/Transfer.h"
#include "groupware/mail/MailSender.h"
#include "groupware/mail/ReplyDelivery.h"
#include "platform/Export.h"
#include "platform/Files.h"

using namespace groupware;

namespace {

const MailSenderEnd endOfMail;

}  // namespace

PLATFORM_EXPORT void CV_CalGetDefaultFolder(StoreUserHandle user, char* path) {
    defaultFolder(user, path, kEvent);
}

PLATFORM_EXPORT void CV_TaskGetDefaultFolder(StoreUserHandle user, char* path) {
    defaultFolder(user, path, kTask);
}

PLATFORM_EXPORT void CV_ContactGetDefaultFolder(StoreUserHandle user, char* path) {
    defaultFolder(user, path, kContact);
}

PLATFORM_EXPORT void CV_ContactGetWhiteListFolder(StoreUserHandle user, char* path) {
    contactFolder(user, path, kWhiteListName);
}

PLATFORM_EXPORT void CV_ContactGetBlackListFolder(StoreUserHandle user, char* path) {
    contactFolder(user, path, kBlackListName);
}

// Events.

PLATFORM_EXPORT void CV_CalInitCalItemEx(StoreCalItem* item) {
    initItem(item);
}

PLATFORM_EXPORT void CV_CalFreeCalItemEx(StoreCalItem* item) {
    freeItem(item);
}

PLATFORM_EXPORT void CV_CalCopyCalItemEx(StoreCalItem* to, const StoreCalItem* from) {
    copyItem(to, from);
}

PLATFORM_EXPORT int32_t CV_CalGetAllItemsEx(StoreCalItem* items, uint32_t* count,
                                            const char* folderPath, const char* /*actor*/) {
    return list(kEvent, items, count, folderPath);
}

PLATFORM_EXPORT int32_t CV_CalGetMultipleCalItemsEx(StoreCalItem* items, uint32_t* count,
                                                    const StoreDateTime* start,
                                                    const StoreDateTime* end,
                                                    const char* folderPath, const char* /*actor*/,
                                                    const char* /*singleOccurrence*/) {
    if (items == nullptr || count == nullptr || folderPath == nullptr) return STORE_BAD_DATA;
    return statusOf([&] {
        const TimeRange range{rangeSide(start, INT64_MIN), rangeSide(end, INT64_MAX)};
        return store(kEvent).listRange(folderPath, range, items, count);
    });
}

PLATFORM_EXPORT int32_t CV_CalGetCalItemEx(StoreCalItem* item, uint32_t itemNumber,
                                           const char* folderPath, uint32_t /*reserved*/) {
    return get(kEvent, item, itemNumber, folderPath);
}

PLATFORM_EXPORT int32_t CV_CalGetCalItemFromMsg(StoreCalItem* item, const char* messagePath,
                                                const char* /*account*/) {
    if (item == nullptr || messagePath == nullptr) return STORE_BAD_DATA;
    return statusOf([&]() -> int32_t {
        if (!isMessagePath(Engine::ofProcess(), messagePath)) return STORE_NOT_FOUND;
        const auto message = platform::readFile(messagePath, kLongestMessage);
        if (!message) return STORE_NOT_FOUND;
        const auto text = calendarTextOf(*message);
        return text ? store(kEvent).read(*text, *item) : STORE_BAD_DATA;
    });
}

PLATFORM_EXPORT int32_t CV_CalGetIDFromiCalUid(const char* folderPath, const char* uid,
                                               uint32_t* itemNumber) {
    return findNumber(kEvent, folderPath, uid, itemNumber);
}

PLATFORM_EXPORT int32_t CV_CalItemToICalendarStringEx(const StoreCalItem* item,
                                                      const char* /*folderPath*/,
                                                      const char* /*account*/, char** text) {
    return textOf(kEvent, item, text);
}

PLATFORM_EXPORT int32_t CV_CalFolderToICalendarString(const char* folderPath, char** text) {
    if (text == nullptr) return 0;
    *text = nullptr;
    if (folderPath == nullptr) return 0;
    return guarded(0, [&] {
        Engine& engine = Engine::ofProcess();
        const auto folder = engine.folderByDirectory(folderPath);
        if (!folder || folder->kind != kEvent) return 0;
        *text = handOutText(withWholeCharacters(exportFolder(engine, *folder)));
        return 1;
    });
}

PLATFORM_EXPORT int32_t CV_CalReadFromICalendarString(StoreCalItem* item, const char* text,
                                                      const char* /*account*/) {
    return read(kEvent, item, text);
}

PLATFORM_EXPORT int32_t CV_CalWriteCalItem(StoreCalItem* item, const char* folderPath,
                                           const char* /*actor*/) {
    return write(kEvent, item, folderPath);
}

PLATFORM_EXPORT int32_t CV_CalEditCalItem(StoreCalItem* item, uint32_t itemNumber,
                                          const char* folderPath, const char* /*actor*/) {
    return edit(kEvent, item, itemNumber, folderPath);
}

PLATFORM_EXPORT int32_t CV_CalDeleteCalItem(const char* folderPath, uint32_t itemNumber,
                                            const char* /*actor*/) {
    return remove(kEvent, folderPath, itemNumber);
}

PLATFORM_EXPORT int32_t CV_CalSetRelatedDAVData(uint32_t itemNumber, const char* folderPath,
                                                const char* text, uint32_t textLength) {
    return setText(kEvent, itemNumber, folderPath, text, textLength);
}

PLATFORM_EXPORT int32_t CV_CalImportCalItemsFromICalFile(const char* folderPath,
                                                         uint32_t /*reserved*/, const char* text,
                                                         uint32_t* count, uint32_t* imported,
                                                         uint32_t* failed) {
    for (uint32_t* number : {count, imported, failed}) {
        if (number != nullptr) *number = 0;
    }
    if (text == nullptr || count == nullptr) return STORE_BAD_DATA;
    return statusOf([&]() -> int32_t {
        if (folderPath == nullptr) {
            *count = countItems(kEvent, text);
            return STORE_OK;
        }
        Engine& engine = Engine::ofProcess();
        const auto folder = engine.folderByDirectory(folderPath);
        if (!folder || folder->kind != kEvent) return STORE_NOT_FOUND;
        const ImportCounts counts = importAtOnce(engine, *folder, text);
        *count = counts.found;
        if (imported != nullptr) *imported = counts.imported;
        if (failed != nullptr) *failed = counts.failed;
        return counts.failed == 0 && counts.found > 0 ? STORE_OK : STORE_BAD_DATA;
    });
}

// Tasks.

PLATFORM_EXPORT void CV_TaskInitTaskItemEx(StoreTaskItem* item) {
    initItem(item);
}

PLATFORM_EXPORT void CV_TaskFreeTaskItemEx(StoreTaskItem* item) {
    freeItem(item);
}

PLATFORM_EXPORT void CV_TaskCopyTaskItemEx(StoreTaskItem* to, const StoreTaskItem* from) {
    copyItem(to, from);
}

PLATFORM_EXPORT int32_t CV_TaskGetAllItemsEx(StoreTaskItem* items, uint32_t* count,
                                             const char* folderPath) {
    return list(kTask, items, count, folderPath);
}

PLATFORM_EXPORT int32_t CV_TaskGetTaskItemEx(StoreTaskItem* item, uint32_t itemNumber,
                                             const char* folderPath, uint32_t /*reserved*/) {
    return get(kTask, item, itemNumber, folderPath);
}

PLATFORM_EXPORT int32_t CV_TaskGetIDFromiCalUid(const char* folderPath, const char* uid,
                                                uint32_t* itemNumber) {
    return findNumber(kTask, folderPath, uid, itemNumber);
}

PLATFORM_EXPORT int32_t CV_TaskItemToICalendarString(const StoreTaskItem* item,
                                                     const char* /*folderPath*/,
                                                     const char* /*account*/, char** text) {
    return textOf(kTask, item, text);
}

PLATFORM_EXPORT int32_t CV_TaskReadFromICalendarString(StoreTaskItem* item, const char* text,
                                                       const char* /*account*/) {
    return read(kTask, item, text);
}

PLATFORM_EXPORT int32_t CV_TaskWriteTaskItemEx(StoreTaskItem* item, const char* folderPath,
                                               const char* /*actor*/) {
    return write(kTask, item, folderPath);
}

PLATFORM_EXPORT int32_t CV_TaskEditTaskItemEx(StoreTaskItem* item, uint32_t itemNumber,
                                              const char* folderPath, const char* /*actor*/) {
    return edit(kTask, item, itemNumber, folderPath);
}

PLATFORM_EXPORT int32_t CV_TaskDeleteTaskItem(const char* folderPath, uint32_t itemNumber,
                                              const char* /*actor*/) {
    return remove(kTask, folderPath, itemNumber);
}

PLATFORM_EXPORT int32_t CV_TaskSetRelatedDAVData(uint32_t itemNumber, const char* folderPath,
                                                 const char* text, uint32_t textLength) {
    return setText(kTask, itemNumber, folderPath, text, textLength);
}

PLATFORM_EXPORT int32_t CV_TaskCompleteOccurrence(StoreTaskItem* item, const char* /*folderPath*/,
                                                  const char* /*actor*/) {
    if (item == nullptr) return STORE_BAD_DATA;
    return statusOf([&] { return store(kTask).completeOccurrence(*item); });
}

PLATFORM_EXPORT void CV_TaskSetiCalUid(StoreTaskItem* item, const char* uid) {
    setUid(kTask, item, uid);
}

// Contacts.

PLATFORM_EXPORT void CV_ContactInitItemEx(StoreContactItem* item) {
    initItem(item);
}

PLATFORM_EXPORT void CV_ContactFreeItemEx(StoreContactItem* item) {
    freeItem(item);
}

PLATFORM_EXPORT void CV_ContactCopyItemEx(StoreContactItem* to, const StoreContactItem* from) {
    copyItem(to, from);
}

PLATFORM_EXPORT int32_t CV_ContactGetAllItemsEx(StoreContactItem* items, uint32_t* count,
                                                const char* folderPath) {
    return list(kContact, items, count, folderPath);
}

PLATFORM_EXPORT int32_t CV_ContactGetMultipleItemsEx(StoreContactItem* items, uint32_t* count,
                                                     const char* folderPath, const char* /*actor*/,
                                                     uint32_t /*reserved1*/, uint32_t /*reserved2*/,
                                                     uint32_t /*reserved3*/,
                                                     uint32_t /*reserved4*/) {
    return list(kContact, items, count, folderPath);
}

PLATFORM_EXPORT int32_t CV_ContactGetItemEx(StoreContactItem* item, const char* identifier,
                                            const char* folderPath, uint32_t /*reserved*/) {
    if (item == nullptr || identifier == nullptr || folderPath == nullptr) return STORE_BAD_DATA;
    // The identifier may stand in the record itself, whose contents are about to change.
    return statusOf([&] {
        return store(kContact).getByIdentifier(folderPath, std::string(identifier), *item);
    });
}

PLATFORM_EXPORT int32_t CV_ContactGetIDFromvCardUid(const char* uid, const char* folderPath,
                                                    StoreContactItem* item) {
    if (uid == nullptr || folderPath == nullptr || item == nullptr) return 0;
    return guarded(0, [&] {
        const auto identifier = store(kContact).identifierOfUid(folderPath, uid);
        if (!identifier) return 0;
        const size_t length = identifier->copy(item->identifier, sizeof item->identifier - 1);
        item->identifier[length] = '\0';
        return 1;
    });
}

PLATFORM_EXPORT int32_t CV_ContactItemToVCardString(const StoreContactItem* item,
                                                    const char* /*folderPath*/, uint32_t plainVCard,
                                                    char** text) {
    if (text == nullptr) return STORE_BAD_DATA;
    *text = nullptr;
    if (item == nullptr) return STORE_BAD_DATA;
    return statusOf([&]() -> int32_t {
        ParsedPointer own;
        const int32_t status = store(kContact).textOf(*item, own);
        if (status != STORE_OK) return status;
        const char* version = plainVCard != 0 ? "3.0" : "4.0";
        *text = handOutText(withWholeCharacters(vCardAs(own->text, version)));
        return STORE_OK;
    });
}

PLATFORM_EXPORT int32_t CV_ContactReadFromVCardString(StoreContactItem* item, const char* text,
                                                      const char* /*account*/) {
    return read(kContact, item, text);
}

PLATFORM_EXPORT int32_t CV_ContactWriteItemEx(StoreContactItem* item, const char* folderPath,
                                              const char* /*actor*/) {
    return write(kContact, item, folderPath);
}

PLATFORM_EXPORT int32_t CV_ContactEditItem(StoreContactItem* item, const char* identifier,
                                           const char* folderPath, const char* /*actor*/) {
    return withContact(folderPath, identifier,
                       [&](int64_t number) { return edit(kContact, item, number, folderPath); });
}

PLATFORM_EXPORT int32_t CV_ContactDeleteItem(const char* folderPath, const char* identifier,
                                             const char* /*actor*/) {
    return withContact(folderPath, identifier,
                       [&](int64_t number) { return remove(kContact, folderPath, number); });
}

PLATFORM_EXPORT int32_t CV_ContactSetRelatedDAVData(const char* identifier, const char* folderPath,
                                                    const char* text, uint32_t textLength) {
    return withContact(folderPath, identifier, [&](int64_t number) {
        return setText(kContact, number, folderPath, text, textLength);
    });
}

PLATFORM_EXPORT void CV_ContactSetvCardUid(StoreContactItem* item, const char* uid) {
    setUid(kContact, item, uid);
}

// Scheduling.

PLATFORM_EXPORT int32_t CV_CalProcessICalFBRequest(const char* text, const char* actor,
                                                   char** recipient, char** freeBusy) {
    if (freeBusy != nullptr) *freeBusy = nullptr;
    if (text == nullptr || actor == nullptr || recipient == nullptr) return STORE_BAD_DATA;
    return statusOf([&]() -> int32_t {
        // A folder's token lets its bearer see that folder, and nobody's busy time.
        if (!Engine::ofProcess().database().account(actor)) return STORE_NOT_FOUND;
        const auto request = FreeBusyRequest::parse(text);
        if (!request) return STORE_BAD_DATA;
        if (*recipient == nullptr) {
            std::string all;
            for (const std::string& each : request->recipients) {
                if (!all.empty()) all += '|';
                all += each;
            }
            *recipient = handOutText(all);
            return STORE_OK;
        }
        if (freeBusy == nullptr) return STORE_BAD_DATA;
        std::string reply;
        const int32_t status = freeBusyReply(Engine::ofProcess(), *request, *recipient, reply);
        if (status == STORE_OK) *freeBusy = handOutText(reply);
        return status;
    });
}

PLATFORM_EXPORT void CV_CalSendICalendarMessage(const StoreCalItem* item, uint32_t /*reserved1*/,
                                                uint32_t /*reserved2*/, const char* actor,
                                                const char* recipient, uint32_t replyKind) {
    if (item == nullptr || actor == nullptr || recipient == nullptr) return;
    guarded([&] {
        const ContentsPointer event = contentsOf(*item);
        if (event != nullptr) {
            sendReply(Engine::ofProcess(), *event, actor, recipient, replyKind);
        }
    });
}

PLATFORM_EXPORT void CV_GWDeletePointer(void* pointer) {
    std::free(pointer);
}
