#include "webdav/dav/TaskUid.h"

#include "platform/Guid.h"
#include "webdav/base/CStr.h"
#include "webdav/log/Log.h"

namespace DAV {

using webdav::Log;

namespace {

std::string newUid() {
    const platform::Guid guid = platform::newGuid();
    const auto& tail = guid.data4;
    return webdav::FormatText("%08x%04x%04x%02x%02x%02x%02x%02x%02x%02x%02x", guid.data1,
                              guid.data2, guid.data3, tail[0], tail[1], tail[2], tail[3], tail[4],
                              tail[5], tail[6], tail[7]);
}

}  // namespace

void GiveNewTaskUid(const ItemContext& context, StoreItem& item) {
    const char* tag = context.request.RequestTag();
    const std::string& folderPath = context.folder.folderPath;
    Log(webdav::kLogDebug, tag, "Creating iCalUID for task: %s:d", folderPath.c_str());
    const std::string uid = newUid();
    webdav::store().CV_TaskSetiCalUid(&item, uid.c_str());
    const int32_t status =
        webdav::store().CV_TaskEditTaskItemEx(&item, item.itemNumber, folderPath.c_str(), "");
    if (status != STORE_OK)
        Log(webdav::kLogError, tag, "CV_TaskEditTaskItemEx failed [%d] : [%s:%u]", status,
            folderPath.c_str(), item.itemNumber);
    Log(webdav::kLogDebug, tag, "iCalUID [%s] created for task: %s:d", uid.c_str(),
        folderPath.c_str());
}

}  // namespace DAV
