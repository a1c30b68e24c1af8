// Values that cross the border between the extension module and the groupware store.
//
// Plain C records of fixed layout: both sides may be built by different compilers. Text is UTF-8
// and NUL-terminated; folder and file paths use backslashes (see the path rule in
// platform/Files.h). A record is the caller's memory; what its pointers point to is the store's and
// lives until the record's Free operation.
#pragma once

#include <stdint.h>

/* An account. Handles are given back with CV_GetFree. */
typedef uint64_t StoreUserHandle;
#define STORE_NO_USER (~(StoreUserHandle)0)

/* Statuses of operations that return one; other values are error codes of the store. */
enum {
    STORE_OK = 0,
    STORE_MORE_ROOM = 10,       /* the record array is too small; the count tells the need */
    STORE_NOT_LOCAL = 11,       /* free-busy: the address is no local account */
    STORE_BAD_DATA = 20,        /* a text that cannot be read as what it should be */
    STORE_NOT_FOUND = 21,       /* no such item, folder or account */
    STORE_BUSY = 22,            /* the database stayed locked too long */
    STORE_IO_ERROR = 23,        /* the database or a file failed */
    STORE_EXISTS = 24,          /* an item of that UID is there already */
    STORE_NOT_PUBLISHING = 101, /* free-busy: the account does not publish its busy time */
};

/* Access rights of a folder. */
enum {
    STORE_RIGHT_READ = 2,
    STORE_RIGHT_WRITE = 8,
    STORE_RIGHT_INSERT = 16,
    STORE_RIGHT_DELETE = 128,
    STORE_RIGHTS_ALL = 511,
};

/* Participation status of an attendee. */
enum {
    STORE_PARTSTAT_NONE = 0,
    STORE_PARTSTAT_ACCEPTED = 1,
    STORE_PARTSTAT_TENTATIVE = 2,
    STORE_PARTSTAT_DECLINED = 3,
    STORE_PARTSTAT_NEEDS_ACTION = 4,
};

/* What CV_CalSendICalendarMessage is to send. */
enum {
    STORE_REPLY_ACCEPTED = 5,
    STORE_REPLY_TENTATIVE = 6,
    STORE_REPLY_DECLINED = 7,
};

/* List kinds of CV_GetIMAPFolderList. */
enum {
    STORE_FOLDERS_OWN = 1,
    STORE_FOLDERS_PUBLIC = 2,
    STORE_FOLDERS_SHARED = 4, /* folders of others shared with the account */
};

/* File identifiers of the settings operations and of CV_GetDBPath. */
enum {
    STORE_FILE_MAIN = 0,
    STORE_FILE_DOMAINS = 1,
    STORE_FILE_USER_SETTINGS = 136,
};

/* Buffer sizes, in bytes with the NUL, that the callers of the filling operations provide. */
enum {
    STORE_ADDRESS_SIZE = 77,
    STORE_PATH_SIZE = 260,
    STORE_NAME_SIZE = 409, /* decoded folder names, full names */
    STORE_DB_PATH_SIZE = 136,
    STORE_DOMAIN_NAME_SIZE = 46,
};

/* The platform's system-time layout; all zero means "not given". */
typedef struct StoreDateTime {
    uint16_t year;
    uint16_t month;     /* 1 to 12 */
    uint16_t dayOfWeek; /* 0 is Sunday */
    uint16_t day;
    uint16_t hour;
    uint16_t minute;
    uint16_t second;
    uint16_t milliseconds;
} StoreDateTime;

/*
 * One folder of CV_GetIMAPFolderList; 751 bytes without gaps. In a list of shared folders the name
 * begins with the owner's address and a backslash: bob@example.test\Work.IMAP.
 */
typedef struct StoreFolderRecord {
    char imapName[364];  /* modified UTF-7, levels divided by backslashes */
    char directory[337]; /* the folder's directory */
    char folderClass[50];
} StoreFolderRecord;

typedef struct StoreAttendee {
    const char* address; /* without "mailto:" */
    uint16_t status;     /* STORE_PARTSTAT_... */
    uint16_t reply;      /* non-zero: the client leaves the reply to the server */
} StoreAttendee;

/* One occurrence of a recurring task that its text names as changed. */
typedef struct StoreTaskOccurrence {
    StoreDateTime start;
} StoreTaskOccurrence;

/*
 * An event, task or contact. One layout serves the three families; what a family lacks is zero.
 * Prepare a record with the family's Init, release its contents with the family's Free. Records
 * are never copied by assignment, only by the family's Copy operation.
 */
typedef struct StoreItem {
    uint32_t itemNumber;        /* events and tasks */
    uint16_t exportFlag;        /* events: 1 asks the conversion for the item as clients sync it */
    uint16_t reserved;          /* zero */
    char identifier[40];        /* contacts: the store's identifier text */
    StoreDateTime lastModified; /* UTC; also the item's entity tag */
    const char* uid;            /* iCalendar or vCard UID; null or empty when it has none */
    const char* organizer;      /* events: address without "mailto:", or null */
    StoreAttendee* attendees;
    StoreTaskOccurrence* occurrences;
    uint32_t attendeeCount;
    uint32_t occurrenceCount;
    StoreDateTime reference; /* tasks: the date-time that a completed occurrence is matched with */
    void* contents;          /* the store's own; null in a prepared, empty record */
} StoreItem;

typedef StoreItem StoreCalItem;
typedef StoreItem StoreTaskItem;
typedef StoreItem StoreContactItem;

#ifdef __cplusplus
static_assert(sizeof(StoreDateTime) == 16);
static_assert(sizeof(StoreFolderRecord) == 751);
#endif
