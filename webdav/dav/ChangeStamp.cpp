#include "webdav/dav/ChangeStamp.h"

#include <optional>
#include <utility>

#include "platform/Files.h"
#include "platform/LocalTime.h"
#include "webdav/base/Text.h"
#include "webdav/xml/AttributeReader.h"
#include "webdav/xml/MarkupScanner.h"
#include "webdav/xml/TextEncoding.h"

namespace DAV {

namespace {

constexpr size_t kMaxMarkerBytes = 64 * 1024;

StoreDateTime toStoreTime(const platform::DateTime& time) {
    return {time.year, time.month,  time.dayOfWeek, time.day,
            time.hour, time.minute, time.second,    time.milliseconds};
}

/// Whether it was written so short a time ago that it may have been while it was read.
bool isYoung(const std::string& marker) {
    constexpr int64_t kYoungMs = 20;  // longer than the steps of the clock that stamps files
    const auto file = platform::fileStamp(marker);
    return file && platform::nowUtcMs() - file->writtenNs / 1'000'000 < kYoungMs;
}

/// The attribute of the first element, which is all that is read.
std::string stampOfRoot(std::string bytes) {
    // Those that the store writes need no decoding.
    if (bytes.find('\0') != bytes.npos || !webdav::IsValidUtf8(bytes)) {
        webdav::MarkupResults unread;
        bytes = webdav::decodeText(std::move(bytes), unread);
    }
    webdav::MarkupNode node;
    for (webdav::MarkupScanner scanner(bytes); scanner.next(node);) {
        if (node.tagName.empty() || node.kind == webdav::NodeKind::kEndTag) continue;
        webdav::MarkupAttribute stamp;
        return findAttribute(node.text, "lastModified", stamp) ? stamp.value() : std::string();
    }
    return {};
}

std::string stampIn(const std::string& marker) {
    std::optional<std::string> bytes = platform::readFile(marker, kMaxMarkerBytes);
    std::string stamp = bytes ? stampOfRoot(*std::move(bytes)) : std::string();
    if (!stamp.empty()) return stamp;
    const std::optional<platform::DateTime> written = platform::lastWriteTime(marker);
    return written ? webdav::FormatStamp(toStoreTime(*written)) : std::string();
}

}  // namespace

std::string ReadChangeStamp(const webdav::ItemKind& kind, const std::string& folderPath) {
    if (folderPath.empty()) return {};
    const std::string marker = folderPath + "\\" + kind.markerFile;
    std::string stamp = stampIn(marker);
    // The store writes over markers, so one could be read half new: until two readings agree.
    constexpr int kMostReadings = 8;
    for (int reading = 1; reading < kMostReadings && isYoung(marker); ++reading) {
        std::string again = stampIn(marker);
        if (again == stamp) break;
        stamp = std::move(again);
    }
    return stamp;
}

}  // namespace DAV
