// The user library of the groupware store: accounts, domains, settings, folders and access.
//
// The extension module binds these operations by name from the library CVUser and calls them from
// many threads at once. Operations said to return a truth value are tested for zero only. Buffers
// are the caller's, at least as large as the size named in StoreTypes.h; texts are cut to fit.
#pragma once

#include "abi/StoreTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Accounts. Both finders return STORE_NO_USER when there is no such account; the second also knows
 * aliases, its second argument is always the empty text. */
StoreUserHandle CV_GetByEmail(const char* address);
StoreUserHandle CV_GetByAlias(const char* address, const char* reserved);
void CV_GetFree(StoreUserHandle user);
void CV_GetEmail(StoreUserHandle user, char* address);     /* STORE_ADDRESS_SIZE */
void CV_GetMailDir(StoreUserHandle user, char* directory); /* STORE_PATH_SIZE; ends in "\" */
void CV_GetFullName(StoreUserHandle user, char* name);     /* STORE_NAME_SIZE */
int32_t CV_ValidateUser(StoreUserHandle user, const char* password);
int32_t CV_GetIsDisabled(StoreUserHandle user);
int32_t CV_GetIsFrozen(StoreUserHandle user);
int32_t CV_IsPasswordTooOld(StoreUserHandle user);
int32_t CV_GetMustChangePassword(StoreUserHandle user);
void CV_ReloadUsers(void);

/* Hosted domains: names is count * STORE_DOMAIN_NAME_SIZE bytes. */
uint32_t CV_GetDomainCount(void);
void CV_GetDomainNames(char* names, uint32_t count);

/* What a server's monitoring may ask for. The extension does not need it, and not every store
 * offers it. Numbers that only grow begin at the start of the process. */
typedef struct StoreFigures {
    uint64_t passwordsRemembered; /* accounts whose right password is known for a while */
    uint64_t passwordsRecognized; /* checks that needed no hash, which only grows */
    uint64_t passwordsHashed;     /* checks that did, which only grows */
    uint64_t snapshotFolders;     /* folders whose contents are in memory */
    uint64_t snapshotBytes;       /* what they take */
    uint64_t snapshotsReused;     /* readings that found them good, which only grows */
    uint64_t snapshotsRead;       /* readings that asked for changes, which only grows */
} StoreFigures;
void CV_GetFigures(StoreFigures* figures, uint32_t size); /* at most size bytes of it are written */

/* Settings; fileId is one of STORE_FILE_... */
void CV_GetDBPath(char* path, uint32_t fileId); /* STORE_DB_PATH_SIZE */
void CV_GetStringKey(const char* section, const char* key, const char* defaultValue, char* value,
                     uint32_t valueSize, uint32_t fileId);
void CV_SetStringKey(const char* section, const char* key, const char* value, uint32_t fileId);
int32_t CV_GetIntKey(const char* section, const char* key, int32_t defaultValue, uint32_t fileId);
int32_t CV_GetBoolKey(const char* section, const char* key, int32_t defaultValue, uint32_t fileId);

/* Folders. A list that came back non-zero is released with CV_DeletePointer, also when empty. */
int32_t CV_GetIMAPFolderList(StoreUserHandle user, uint32_t listKind, StoreFolderRecord** folders,
                             uint32_t* count);
void CV_DeletePointer(void* pointer, void** holder);
void CV_DecodeIMAPFolderName(const char* imapName, char* name, uint32_t nameSize);

/* Rights of an account, by its address or "guest", on a folder: an OR of STORE_RIGHT_... */
uint32_t CV_GetSharedFolderAccessMask(const char* folderPath, const char* accountName);
uint32_t CV_GetPublicFolderAccessMask(const char* folderPath, const char* accountName);

#ifdef __cplusplus
}
#endif
