#include "webdav/dav/ChangeStamp.h"

#include <mutex>
#include <optional>
#include <shared_mutex>
#include <unordered_map>

#include "platform/Files.h"
#include "platform/LocalTime.h"
#include "webdav/xml/MarkupDocument.h"

namespace DAV {

namespace {

constexpr size_t kMaxMarkerBytes = 64 * 1024;

StoreDateTime toStoreTime(const platform::DateTime& time) {
    return {time.year, time.month,  time.dayOfWeek, time.day,
            time.hour, time.minute, time.second,    time.milliseconds};
}

/// What markers said when they were read, by path.
class KnownStamps {
  public:
    std::optional<std::string> find(const std::string& marker, const platform::FileStamp& file) {
        const std::shared_lock lock(mutex_);
        const auto known = stamps_.find(marker);
        if (known == stamps_.end() || known->second.file != file) return std::nullopt;
        return known->second.stamp;
    }

    void keep(const std::string& marker, const platform::FileStamp& file,
              const std::string& stamp) {
        const std::unique_lock lock(mutex_);
        if (stamps_.size() >= kMostStamps) stamps_.clear();
        stamps_[marker] = {file, stamp};
    }

  private:
    static constexpr size_t kMostStamps = 10'000;

    struct Known {
        platform::FileStamp file;
        std::string stamp;
    };

    std::shared_mutex mutex_;
    std::unordered_map<std::string, Known> stamps_;
};
KnownStamps knownStamps;

/// Longer than the steps of the clock that stamps files: a file written less than this ago may be
/// written again without its time telling.
bool isSettled(const platform::FileStamp& file) {
    constexpr int64_t kSettleMs = 20;
    return platform::nowUtcMs() - file.writtenNs / 1'000'000 >= kSettleMs;
}

std::string stampIn(const std::string& marker) {
    webdav::MarkupDocument document;
    document.load(marker, kMaxMarkerBytes);
    if (document.findElement()) {
        std::string stamp = document.attribute("lastModified");
        if (!stamp.empty()) return stamp;
    }
    const std::optional<platform::DateTime> written = platform::lastWriteTime(marker);
    return written ? webdav::FormatStamp(toStoreTime(*written)) : std::string();
}

/// The store writes over markers: one that is written just now could be read half new.
std::string stampReadTwice(const std::string& marker) {
    constexpr int kMostReadings = 8;
    std::string stamp = stampIn(marker);
    for (int reading = 1; reading < kMostReadings; ++reading) {
        std::string again = stampIn(marker);
        if (again == stamp) break;
        stamp = std::move(again);
    }
    return stamp;
}

}  // namespace

std::string ReadChangeStamp(const webdav::ItemKind& kind, const std::string& folderPath) {
    if (folderPath.empty()) return {};
    const std::string marker = folderPath + "\\" + kind.markerFile;
    const auto file = platform::fileStamp(marker);
    if (!file) return stampIn(marker);
    if (auto known = knownStamps.find(marker, *file)) return *std::move(known);

    if (!isSettled(*file)) return stampReadTwice(marker);
    std::string stamp = stampIn(marker);
    if (platform::fileStamp(marker) != file) return stampReadTwice(marker);
    knownStamps.keep(marker, *file, stamp);
    return stamp;
}

}  // namespace DAV
