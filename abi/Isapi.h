// The web-server extension interface (ISAPI) by its published names.
//
// The host fills an EXTENSION_CONTROL_BLOCK for each request and calls the extension's three entry
// points; on Windows the platform's own header gives these names, elsewhere this one does, with the
// same layouts. All strings are NUL-terminated unless a length stands beside them.
#pragma once

#ifdef _WIN32

#include <httpext.h>

#else

#include <stdint.h>

#define WINAPI

typedef uint32_t DWORD;
typedef int32_t BOOL;
typedef char CHAR;
typedef char* LPSTR;
typedef const char* LPCSTR;
typedef void* LPVOID;
typedef uint8_t* LPBYTE;
typedef DWORD* LPDWORD;
typedef void* HCONN;

#ifndef TRUE
#define TRUE 1
#define FALSE 0
#endif

#define HSE_VERSION_MAJOR 8
#define HSE_VERSION_MINOR 0
#define HSE_LOG_BUFFER_LEN 80
#define HSE_MAX_EXT_DLL_NAME_LEN 256

/* What HttpExtensionProc returns. */
#define HSE_STATUS_SUCCESS 1
#define HSE_STATUS_SUCCESS_AND_KEEP_CONN 2
#define HSE_STATUS_PENDING 3
#define HSE_STATUS_ERROR 4

/* ServerSupportFunction requests that the host answers. */
#define HSE_REQ_END_RESERVED 1000
#define HSE_REQ_SEND_RESPONSE_HEADER_EX (HSE_REQ_END_RESERVED + 16)

/* TerminateExtension flags. */
#define HSE_TERM_ADVISORY_UNLOAD 0x00000001
#define HSE_TERM_MUST_UNLOAD 0x00000002

typedef struct _HSE_VERSION_INFO {
    DWORD dwExtensionVersion;
    CHAR lpszExtensionDesc[HSE_MAX_EXT_DLL_NAME_LEN];
} HSE_VERSION_INFO, *LPHSE_VERSION_INFO;

typedef struct _EXTENSION_CONTROL_BLOCK {
    DWORD cbSize;
    DWORD dwVersion;
    HCONN ConnID;
    DWORD dwHttpStatusCode;
    CHAR lpszLogData[HSE_LOG_BUFFER_LEN];

    LPSTR lpszMethod;
    LPSTR lpszQueryString;
    LPSTR lpszPathInfo;
    LPSTR lpszPathTranslated;

    DWORD cbTotalBytes; /* all bits set: length not known, only cbAvailable bytes are there */
    DWORD cbAvailable;
    LPBYTE lpbData;

    LPSTR lpszContentType;

    /* Fills the buffer with the variable's value and its NUL; the size counts that NUL. */
    BOOL(WINAPI* GetServerVariable)
    (HCONN hConn, LPSTR lpszVariableName, LPVOID lpvBuffer, LPDWORD lpdwSize);
    BOOL(WINAPI* WriteClient)(HCONN ConnID, LPVOID Buffer, LPDWORD lpdwBytes, DWORD dwReserved);
    BOOL(WINAPI* ReadClient)(HCONN ConnID, LPVOID lpvBuffer, LPDWORD lpdwSize);
    BOOL(WINAPI* ServerSupportFunction)
    (HCONN hConn, DWORD dwHSERequest, LPVOID lpvBuffer, LPDWORD lpdwSize, LPDWORD lpdwDataType);
} EXTENSION_CONTROL_BLOCK, *LPEXTENSION_CONTROL_BLOCK;

typedef struct _HSE_SEND_HEADER_EX_INFO {
    LPCSTR pszStatus; /* for example "200 OK" */
    LPCSTR pszHeader; /* header lines with CR LF, ending in an empty line */
    DWORD cchStatus;
    DWORD cchHeader;
    BOOL fKeepConn;
} HSE_SEND_HEADER_EX_INFO, *LPHSE_SEND_HEADER_EX_INFO;

#ifdef __cplusplus
extern "C" {
#endif

typedef BOOL(WINAPI* PFN_GETEXTENSIONVERSION)(HSE_VERSION_INFO* pVer);
typedef DWORD(WINAPI* PFN_HTTPEXTENSIONPROC)(EXTENSION_CONTROL_BLOCK* pECB);
typedef BOOL(WINAPI* PFN_TERMINATEEXTENSION)(DWORD dwFlags);

BOOL WINAPI GetExtensionVersion(HSE_VERSION_INFO* pVer);
DWORD WINAPI HttpExtensionProc(EXTENSION_CONTROL_BLOCK* pECB);
BOOL WINAPI TerminateExtension(DWORD dwFlags);

#ifdef __cplusplus
}
#endif

#endif
