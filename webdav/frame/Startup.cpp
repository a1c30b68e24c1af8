#include "webdav/frame/Startup.h"

#include "webdav/base/Settings.h"
#include "webdav/log/Log.h"
#include "webdav/log/LogThread.h"
#include "webdav/store/StoreBinding.h"

namespace webdav {

bool StartExtension() {
    SetInstallation(ReadRegistryString("AppPath"));
    LogThread::Instance().Start();
    Log(kLogDebug, nullptr, "GetExtensionVersion()");
    Log(kLogStatus, nullptr, "Initializing");
    return LoadStore();
}

void StopExtension() {
    Log(kLogDebug, nullptr, "TerminateExtension()");
    Log(kLogStatus, nullptr, "Shutting down");
    UnloadStore();
    LogThread::Instance().Stop();
}

}  // namespace webdav
