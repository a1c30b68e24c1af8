// The extension's three entry points, called by the web server by these published names.
#include <cstring>
#include <exception>

#include "abi/Isapi.h"
#include "platform/Export.h"
#include "webdav/base/ExceptObj.h"
#include "webdav/frame/Startup.h"
#include "webdav/frame/WebDAVRequest.h"
#include "webdav/log/Log.h"

namespace {

constexpr DWORD kExtensionVersion = 0x70005;
constexpr char kDescription[] = "Quindle Software WebDAV server";
static_assert(sizeof kDescription <= HSE_MAX_EXT_DLL_NAME_LEN);

}  // namespace

PLATFORM_EXPORT BOOL WINAPI GetExtensionVersion(HSE_VERSION_INFO* pVer) {
    pVer->dwExtensionVersion = kExtensionVersion;
    std::memcpy(pVer->lpszExtensionDesc, kDescription, sizeof kDescription);
    return webdav::StartExtension() ? TRUE : FALSE;
}

PLATFORM_EXPORT DWORD WINAPI HttpExtensionProc(EXTENSION_CONTROL_BLOCK* pECB) {
    // No exception may cross into the web server. What arrives here failed outside the pipeline or
    // is none of its own: a body too large to map, no memory.
    try {
        webdav::WebDAVRequest(pECB).Process();
    } catch (const webdav::ExceptObj& failure) {
        webdav::Log(webdav::kLogError, nullptr, "Exception: %s", failure.message().c_str());
    } catch (const std::exception& failure) {
        webdav::Log(webdav::kLogError, nullptr, "Exception: %s", failure.what());
    }
    return HSE_STATUS_SUCCESS;
}

PLATFORM_EXPORT BOOL WINAPI TerminateExtension(DWORD) {
    webdav::StopExtension();
    return TRUE;
}
