#include "platform/Files.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

#include "platform/posix/Descriptor.h"
#include "platform/posix/PathLookup.h"
#include "platform/posix/TemporaryName.h"

namespace platform {
namespace {

/// Where a rename leads: to an existing name of another case, unless that is the very file that is
/// renamed, which then gets the new spelling.
std::string renameTarget(const FoundPath& from, std::string_view to) {
    std::string native = findPath(to).native;
    if (native != from.native) return native;
    const std::string_view name = to.substr(std::min(to.find_last_of("\\/") + 1, to.size()));
    const size_t slash = native.rfind('/');
    return native.substr(0, slash == std::string::npos ? 0 : slash + 1).append(name);
}

}  // namespace

bool fileExists(std::string_view path) {
    const FoundPath found = findPath(path);
    return found.exists && !S_ISDIR(found.status.st_mode);
}

bool directoryExists(std::string_view path) {
    const FoundPath found = findPath(path);
    return found.exists && S_ISDIR(found.status.st_mode);
}

bool createDirectories(std::string_view path, unsigned mode) {
    const FoundPath found = findPath(path);
    if (found.exists || found.native.empty()) return found.exists && S_ISDIR(found.status.st_mode);
    const std::string& native = found.native;
    for (size_t end = 0; end < native.size();) {
        end = std::min(native.find('/', end + 1), native.size());
        // Levels that exist are not told from levels that cannot be made: the last one decides.
        ::mkdir(native.substr(0, end).c_str(), static_cast<mode_t>(mode));
    }
    struct stat status {};
    return ::stat(native.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool removeFile(std::string_view path) {
    return ::unlink(findPath(path).native.c_str()) == 0;
}

bool removeDirectoryTree(std::string_view path) {
    const FoundPath found = findPath(path);
    if (!found.exists) return !found.native.empty() && errno == ENOENT;
    if (!S_ISDIR(found.status.st_mode)) {
        errno = ENOTDIR;
        return false;
    }
    std::error_code error;
    std::filesystem::remove_all(found.native, error);
    errno = error.value();
    return !error;
}

bool renameFile(std::string_view from, std::string_view to) {
    const FoundPath source = findPath(from);
    return ::rename(source.native.c_str(), renameTarget(source, to).c_str()) == 0;
}

bool linkFile(std::string_view target, std::string_view link) {
    const std::string native = findPath(link).native;
    const std::string temporary = temporaryNameBeside(native);
    if (::symlink(findPath(target).native.c_str(), temporary.c_str()) != 0) return false;
    if (::rename(temporary.c_str(), native.c_str()) == 0) return true;
    const int cause = errno;
    ::unlink(temporary.c_str());
    errno = cause;
    return false;
}

NameKind kindOf(std::string_view path) {
    struct stat status {};
    if (::lstat(findPath(path).native.c_str(), &status) != 0) return NameKind::kNothing;
    if (S_ISREG(status.st_mode)) return NameKind::kFile;
    if (S_ISDIR(status.st_mode)) return NameKind::kDirectory;
    return S_ISLNK(status.st_mode) ? NameKind::kLink : NameKind::kOther;
}

bool syncFileSystem(std::string_view path) {
    const Descriptor file = openDescriptor(findPath(path).native, O_RDONLY);
    return file.valid() && ::syncfs(file.get()) == 0;
}

bool isPrivateFile(std::string_view path) {
    const FoundPath found = findPath(path);
    return found.exists && (found.status.st_mode & 077) == 0;
}

bool makePrivate(std::string_view path) {
    const FoundPath found = findPath(path);
    return found.exists && ::chmod(found.native.c_str(), found.status.st_mode & 0700) == 0;
}

std::optional<DateTime> lastWriteTime(std::string_view path) {
    const FoundPath found = findPath(path);
    if (!found.exists) return std::nullopt;
    const timespec& time = found.status.st_mtim;
    return utcFromMs(static_cast<int64_t>(time.tv_sec) * 1000 + time.tv_nsec / 1000000);
}

std::optional<FileStamp> fileStamp(std::string_view path) {
    const FoundPath found = findPath(path);
    if (!found.exists || S_ISDIR(found.status.st_mode)) return std::nullopt;
    const auto& status = found.status;
    return FileStamp{status.st_dev, status.st_ino, status.st_size,
                     int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec};
}

std::vector<std::string> listDirectory(std::string_view path) {
    std::vector<std::string> names;
    const DirectoryStream entries(::opendir(findPath(path).native.c_str()));
    if (!entries) return names;
    while (const dirent* entry = ::readdir(entries.get())) {
        // Besides "." and ".." this leaves out names with a backslash, which no path can name.
        if (isPlainName(entry->d_name)) names.emplace_back(entry->d_name);
    }
    return names;
}

std::optional<std::string> readFile(std::string_view path, size_t maxBytes) {
    // Nearly all are there as spelt, which opening them tells as well as asking first.
    Descriptor file = openDescriptor(nativeSpelling(path), O_RDONLY);
    if (!file.valid()) file = openDescriptor(findPath(path).native, O_RDONLY);
    if (!file.valid()) return std::nullopt;
    return readAll(file, maxBytes);
}

}  // namespace platform
