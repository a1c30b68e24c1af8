#include "webdav/dav/ChangeStamp.h"

#include "platform/Files.h"
#include "webdav/xml/MarkupDocument.h"

namespace DAV {

namespace {

constexpr size_t kMaxMarkerBytes = 64 * 1024;

StoreDateTime toStoreTime(const platform::DateTime& time) {
    return {time.year, time.month,  time.dayOfWeek, time.day,
            time.hour, time.minute, time.second,    time.milliseconds};
}

}  // namespace

std::string ReadChangeStamp(const webdav::ItemKind& kind, const std::string& folderPath) {
    if (folderPath.empty()) return {};
    const std::string marker = folderPath + "\\" + kind.markerFile;
    webdav::MarkupDocument document;
    document.load(marker, kMaxMarkerBytes);
    if (document.findElement()) {
        std::string stamp = document.attribute("lastModified");
        if (!stamp.empty()) return stamp;
    }
    const std::optional<platform::DateTime> written = platform::lastWriteTime(marker);
    return written ? webdav::FormatStamp(toStoreTime(*written)) : std::string();
}

}  // namespace DAV
