#include "platform/PrivateProfile.h"

#include <algorithm>
#include <cerrno>
#include <limits>

#include "platform/Error.h"
#include "platform/Files.h"
#include "platform/posix/PathLookup.h"
#include "platform/posix/ProfileCache.h"
#include "platform/posix/ProfileText.h"

namespace platform {
namespace {

int32_t leadingNumber(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    constexpr int64_t kMax = std::numeric_limits<int32_t>::max();
    int64_t number = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') break;
        number = std::min(number * 10 + (c - '0'), kMax + 1);
    }
    return static_cast<int32_t>(negative ? -number : std::min(number, kMax));
}

// Editors ask for no lock; one that changed the file meanwhile is to be heard, but not for ever.
constexpr int kAttempts = 16;

template <typename Change>
bool tryToChange(std::string_view path, Change change) {
    const std::optional<FileStamp> stamp = fileStamp(path);
    const std::optional<std::string> before = readFile(path, kMaxProfileBytes);
    if (!before) return false;
    const std::string after = change(*before);
    if (after == *before) return true;
    if (after.size() > kMaxProfileBytes) {
        errno = EFBIG;
        return false;
    }
    const FoundPath found = findPath(path);
    return found.exists && replaceFile(path, after, found.status.st_mode & 07777, true, stamp);
}

/// Reads, changes and replaces the file while no other process or thread does. The lock is on the
/// file itself, which thus exists afterwards.
template <typename Change>
bool changeProfile(std::string_view path, Change change) {
    constexpr std::chrono::seconds kLongestWait{15};
    const std::unique_ptr<FileLock> lock = FileLock::acquire(path, kLongestWait);
    if (!lock) return false;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (tryToChange(path, change)) return true;
        if (lastError() != kErrorFileChanged) break;
    }
    return false;
}

}  // namespace

Profile::Profile(std::string_view path) : text_(ProfileCache::instance().read(path)) {}

std::optional<std::string_view> Profile::find(std::string_view section,
                                              std::string_view key) const {
    return text_ ? text_->find(section, key) : std::nullopt;
}

std::string readProfileText(std::string_view path, std::string_view section, std::string_view key,
                            std::string_view defaultValue, size_t bufferSize) {
    const Profile file(path);
    const std::string_view value = file.find(section, key).value_or(defaultValue);
    return std::string(value.substr(0, bufferSize == 0 ? 0 : bufferSize - 1));
}

int32_t readProfileInt(std::string_view path, std::string_view section, std::string_view key,
                       int32_t defaultValue) {
    const Profile file(path);
    const std::optional<std::string_view> value = file.find(section, key);
    return value ? leadingNumber(*value) : defaultValue;
}

bool writeProfileText(std::string_view path, std::string_view section, std::string_view key,
                      std::string_view value) {
    if (!isProfileEntry(section, key, value)) {
        errno = EINVAL;
        return false;
    }
    return changeProfile(
        path, [&](std::string_view text) { return withProfileValue(text, section, key, value); });
}

bool removeProfileKey(std::string_view path, std::string_view section, std::string_view key) {
    if (!fileExists(path)) return true;
    return changeProfile(
        path, [&](std::string_view text) { return withoutProfileKey(text, section, key); });
}

}  // namespace platform
