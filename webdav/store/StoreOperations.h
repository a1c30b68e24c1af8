// The store operations, as bound by name at start-up.
//
// The two lists are the whole of what the libraries' headers promise, also where nothing calls it:
// a library that lacks one of its names is another version and refused whole. The pointers are
// written before the first request and only read afterwards.
#pragma once

#include "abi/CVCalendar.h"
#include "abi/CVUser.h"

namespace webdav {

#define WEBDAV_USER_OPERATIONS(X)   \
    X(CV_GetByEmail)                \
    X(CV_GetByAlias)                \
    X(CV_GetFree)                   \
    X(CV_GetEmail)                  \
    X(CV_GetMailDir)                \
    X(CV_GetFullName)               \
    X(CV_ValidateUser)              \
    X(CV_GetIsDisabled)             \
    X(CV_GetIsFrozen)               \
    X(CV_IsPasswordTooOld)          \
    X(CV_GetMustChangePassword)     \
    X(CV_GetDomainCount)            \
    X(CV_GetDomainNames)            \
    X(CV_GetDBPath)                 \
    X(CV_GetStringKey)              \
    X(CV_SetStringKey)              \
    X(CV_GetIntKey)                 \
    X(CV_GetBoolKey)                \
    X(CV_ReloadUsers)               \
    X(CV_GetIMAPFolderList)         \
    X(CV_DeletePointer)             \
    X(CV_DecodeIMAPFolderName)      \
    X(CV_GetSharedFolderAccessMask) \
    X(CV_GetPublicFolderAccessMask)

#define WEBDAV_CALENDAR_OPERATIONS(X)   \
    X(CV_CalGetDefaultFolder)           \
    X(CV_TaskGetDefaultFolder)          \
    X(CV_ContactGetDefaultFolder)       \
    X(CV_ContactGetWhiteListFolder)     \
    X(CV_ContactGetBlackListFolder)     \
    X(CV_CalInitCalItemEx)              \
    X(CV_CalFreeCalItemEx)              \
    X(CV_CalCopyCalItemEx)              \
    X(CV_CalGetAllItemsEx)              \
    X(CV_CalGetMultipleCalItemsEx)      \
    X(CV_CalGetCalItemEx)               \
    X(CV_CalGetCalItemFromMsg)          \
    X(CV_CalGetIDFromiCalUid)           \
    X(CV_CalItemToICalendarStringEx)    \
    X(CV_CalFolderToICalendarString)    \
    X(CV_CalReadFromICalendarString)    \
    X(CV_CalWriteCalItem)               \
    X(CV_CalEditCalItem)                \
    X(CV_CalDeleteCalItem)              \
    X(CV_CalSetRelatedDAVData)          \
    X(CV_CalImportCalItemsFromICalFile) \
    X(CV_TaskInitTaskItemEx)            \
    X(CV_TaskFreeTaskItemEx)            \
    X(CV_TaskCopyTaskItemEx)            \
    X(CV_TaskGetAllItemsEx)             \
    X(CV_TaskGetTaskItemEx)             \
    X(CV_TaskGetIDFromiCalUid)          \
    X(CV_TaskItemToICalendarString)     \
    X(CV_TaskReadFromICalendarString)   \
    X(CV_TaskWriteTaskItemEx)           \
    X(CV_TaskEditTaskItemEx)            \
    X(CV_TaskDeleteTaskItem)            \
    X(CV_TaskSetRelatedDAVData)         \
    X(CV_TaskCompleteOccurrence)        \
    X(CV_TaskSetiCalUid)                \
    X(CV_ContactInitItemEx)             \
    X(CV_ContactFreeItemEx)             \
    X(CV_ContactCopyItemEx)             \
    X(CV_ContactGetAllItemsEx)          \
    X(CV_ContactGetMultipleItemsEx)     \
    X(CV_ContactGetItemEx)              \
    X(CV_ContactGetIDFromvCardUid)      \
    X(CV_ContactItemToVCardString)      \
    X(CV_ContactReadFromVCardString)    \
    X(CV_ContactWriteItemEx)            \
    X(CV_ContactEditItem)               \
    X(CV_ContactDeleteItem)             \
    X(CV_ContactSetRelatedDAVData)      \
    X(CV_ContactSetvCardUid)            \
    X(CV_CalProcessICalFBRequest)       \
    X(CV_CalSendICalendarMessage)       \
    X(CV_GWDeletePointer)

struct StoreOperations {
#define WEBDAV_MEMBER(name) decltype(&::name) name = nullptr;
    WEBDAV_USER_OPERATIONS(WEBDAV_MEMBER)
    WEBDAV_CALENDAR_OPERATIONS(WEBDAV_MEMBER)
#undef WEBDAV_MEMBER
};

/// The operations as bound; all null until LoadStore() has succeeded.
const StoreOperations& store();

}  // namespace webdav
