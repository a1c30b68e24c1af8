// The calendar library of the groupware store: events, tasks and contacts.
//
// The extension module binds these operations by name from the library CVCalendar and calls them
// from many threads at once. Unless said otherwise the result is a status: STORE_OK, or an error
// code. Look-ups by UID return a truth value. Texts handed out are released with
// CV_GWDeletePointer. "account" is the address whose data is addressed, "actor" the one who acts.
// Listings take a caller's array of prepared records and its size in *count; they set *count to the
// number of records, or return STORE_MORE_ROOM and the number needed.
#pragma once

#include "abi/StoreTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Default folders: path into a buffer of STORE_PATH_SIZE, without a closing backslash. */
void CV_CalGetDefaultFolder(StoreUserHandle user, char* path);
void CV_TaskGetDefaultFolder(StoreUserHandle user, char* path);
void CV_ContactGetDefaultFolder(StoreUserHandle user, char* path);
void CV_ContactGetWhiteListFolder(StoreUserHandle user, char* path);
void CV_ContactGetBlackListFolder(StoreUserHandle user, char* path);

/* Events. */
void CV_CalInitCalItemEx(StoreCalItem* item);
void CV_CalFreeCalItemEx(StoreCalItem* item);
void CV_CalCopyCalItemEx(StoreCalItem* to, const StoreCalItem* from);
int32_t CV_CalGetAllItemsEx(StoreCalItem* items, uint32_t* count, const char* folderPath,
                            const char* actor);
/* Events with an occurrence between start and end (server local time; zero leaves a side open). */
int32_t CV_CalGetMultipleCalItemsEx(StoreCalItem* items, uint32_t* count,
                                    const StoreDateTime* start, const StoreDateTime* end,
                                    const char* folderPath, const char* actor,
                                    const char* singleOccurrence);
int32_t CV_CalGetCalItemEx(StoreCalItem* item, uint32_t itemNumber, const char* folderPath,
                           uint32_t reserved);
int32_t CV_CalGetCalItemFromMsg(StoreCalItem* item, const char* messagePath, const char* account);
int32_t CV_CalGetIDFromiCalUid(const char* folderPath, const char* uid, uint32_t* itemNumber);
int32_t CV_CalItemToICalendarStringEx(const StoreCalItem* item, const char* folderPath,
                                      const char* account, char** text);
/* Alone among these: non-zero is success. */
int32_t CV_CalFolderToICalendarString(const char* folderPath, char** text);
int32_t CV_CalReadFromICalendarString(StoreCalItem* item, const char* text, const char* account);
/* Sets the record's item number. */
int32_t CV_CalWriteCalItem(StoreCalItem* item, const char* folderPath, const char* actor);
int32_t CV_CalEditCalItem(StoreCalItem* item, uint32_t itemNumber, const char* folderPath,
                          const char* actor);
int32_t CV_CalDeleteCalItem(const char* folderPath, uint32_t itemNumber, const char* actor);
int32_t CV_CalSetRelatedDAVData(uint32_t itemNumber, const char* folderPath, const char* text,
                                uint32_t textLength);
/* Imports every event of an iCalendar text; without a folder it only counts them (by UID). */
int32_t CV_CalImportCalItemsFromICalFile(const char* folderPath, uint32_t reserved,
                                         const char* text, uint32_t* count, uint32_t* imported,
                                         uint32_t* failed);

/* Tasks. */
void CV_TaskInitTaskItemEx(StoreTaskItem* item);
void CV_TaskFreeTaskItemEx(StoreTaskItem* item);
void CV_TaskCopyTaskItemEx(StoreTaskItem* to, const StoreTaskItem* from);
int32_t CV_TaskGetAllItemsEx(StoreTaskItem* items, uint32_t* count, const char* folderPath);
int32_t CV_TaskGetTaskItemEx(StoreTaskItem* item, uint32_t itemNumber, const char* folderPath,
                             uint32_t reserved);
int32_t CV_TaskGetIDFromiCalUid(const char* folderPath, const char* uid, uint32_t* itemNumber);
int32_t CV_TaskItemToICalendarString(const StoreTaskItem* item, const char* folderPath,
                                     const char* account, char** text);
int32_t CV_TaskReadFromICalendarString(StoreTaskItem* item, const char* text, const char* account);
int32_t CV_TaskWriteTaskItemEx(StoreTaskItem* item, const char* folderPath, const char* actor);
int32_t CV_TaskEditTaskItemEx(StoreTaskItem* item, uint32_t itemNumber, const char* folderPath,
                              const char* actor);
int32_t CV_TaskDeleteTaskItem(const char* folderPath, uint32_t itemNumber, const char* actor);
int32_t CV_TaskSetRelatedDAVData(uint32_t itemNumber, const char* folderPath, const char* text,
                                 uint32_t textLength);
/* Completes in the record the occurrence that its reference names; store it with Edit. */
int32_t CV_TaskCompleteOccurrence(StoreTaskItem* item, const char* folderPath, const char* actor);
void CV_TaskSetiCalUid(StoreTaskItem* item, const char* uid);

/* Contacts: named inside the store by an identifier text instead of a number. */
void CV_ContactInitItemEx(StoreContactItem* item);
void CV_ContactFreeItemEx(StoreContactItem* item);
void CV_ContactCopyItemEx(StoreContactItem* to, const StoreContactItem* from);
int32_t CV_ContactGetAllItemsEx(StoreContactItem* items, uint32_t* count, const char* folderPath);
int32_t CV_ContactGetMultipleItemsEx(StoreContactItem* items, uint32_t* count,
                                     const char* folderPath, const char* actor, uint32_t reserved1,
                                     uint32_t reserved2, uint32_t reserved3, uint32_t reserved4);
int32_t CV_ContactGetItemEx(StoreContactItem* item, const char* identifier, const char* folderPath,
                            uint32_t reserved);
/* Fills the record's identifier. */
int32_t CV_ContactGetIDFromvCardUid(const char* uid, const char* folderPath,
                                    StoreContactItem* item);
/* plainVCard 1 yields version 3.0, 0 yields version 4.0. */
int32_t CV_ContactItemToVCardString(const StoreContactItem* item, const char* folderPath,
                                    uint32_t plainVCard, char** text);
int32_t CV_ContactReadFromVCardString(StoreContactItem* item, const char* text,
                                      const char* account);
int32_t CV_ContactWriteItemEx(StoreContactItem* item, const char* folderPath, const char* actor);
int32_t CV_ContactEditItem(StoreContactItem* item, const char* identifier, const char* folderPath,
                           const char* actor);
int32_t CV_ContactDeleteItem(const char* folderPath, const char* identifier, const char* actor);
int32_t CV_ContactSetRelatedDAVData(const char* identifier, const char* folderPath,
                                    const char* text, uint32_t textLength);
void CV_ContactSetvCardUid(StoreContactItem* item, const char* uid);

/* Scheduling. With *recipient null the call lists the recipients there, divided by "|"; with a
 * recipient it hands out that one's busy time. */
int32_t CV_CalProcessICalFBRequest(const char* text, const char* actor, char** recipient,
                                   char** freeBusy);
void CV_CalSendICalendarMessage(const StoreCalItem* item, uint32_t reserved1, uint32_t reserved2,
                                const char* actor, const char* recipient, uint32_t replyKind);
/* Releases any text that this library handed out; null is ignored. */
void CV_GWDeletePointer(void* pointer);

#ifdef __cplusplus
}
#endif
