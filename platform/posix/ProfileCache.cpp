#include "platform/posix/ProfileCache.h"

#include <mutex>

#include <fcntl.h>
#include <time.h>

#include "platform/posix/Descriptor.h"
#include "platform/posix/PathLookup.h"

namespace platform {
namespace {

constexpr size_t kMaxFiles = 4096;
constexpr size_t kMaxTotalBytes = size_t{32} << 20;
// Longer than the steps of the clock that stamps files: a file touched less than this before it is
// read may be written again without its stamp telling, so it is not kept.
constexpr int64_t kSettleNs = 20'000'000;

int64_t nanoseconds(const timespec& time) {
    return static_cast<int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

}  // namespace

ProfileCache& ProfileCache::instance() {
    static ProfileCache cache;
    return cache;
}

std::shared_ptr<const ProfileText> ProfileCache::read(std::string_view path) {
    const FoundPath found = findPath(path);
    if (!found.exists || !S_ISREG(found.status.st_mode)) return nullptr;
    {
        const std::shared_lock lock(mutex_);
        const auto entry = entries_.find(found.native);
        if (entry != entries_.end() && entry->second.stamp == stampOf(found.status)) {
            return entry->second.text;
        }
    }
    return load(found.native);
}

ProfileCache::Stamp ProfileCache::stampOf(const struct stat& status) {
    return {.device = status.st_dev,
            .inode = status.st_ino,
            .size = status.st_size,
            .writtenNs = nanoseconds(status.st_mtim),
            .changedNs = nanoseconds(status.st_ctim)};
}

std::shared_ptr<const ProfileText> ProfileCache::load(const std::string& native) {
    const Descriptor file = openDescriptor(native, O_RDONLY);
    if (!file.valid()) return nullptr;
    // Both are taken before the bytes are read: a write that comes later shows in the next stamp.
    timespec now{};
    struct stat status {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    if (::fstat(file.get(), &status) != 0) return nullptr;
    std::optional<std::string> bytes = readAll(file, kMaxProfileBytes);
    if (!bytes) return nullptr;
    auto text = std::make_shared<const ProfileText>(std::move(*bytes));
    const Stamp stamp = stampOf(status);
    if (nanoseconds(now) - stamp.changedNs >= kSettleNs) keep(native, {stamp, text});
    return text;
}

void ProfileCache::keep(const std::string& native, Entry entry) {
    const std::unique_lock lock(mutex_);
    if (entries_.size() >= kMaxFiles || bytes_ + entry.text->size() > kMaxTotalBytes) {
        // Starting anew is rare and costs one reading of the files that are in use.
        entries_.clear();
        bytes_ = 0;
    }
    bytes_ += entry.text->size();
    Entry& place = entries_[native];
    if (place.text) bytes_ -= place.text->size();
    place = std::move(entry);
}

}  // namespace platform
