// Files and directories by the product's path rule.
//
// A path is text with backslashes; a full path starts with one (or with a drive letter where there
// are drives). Only this layer turns it into what the system wants: on POSIX "\" becomes "/", and a
// name that does not exist as spelt is looked for without regard to ASCII case. There a drive
// letter is part of a plain name, and a path that does not start with "\" counts from the working
// directory. A text with a NUL names nothing. Text from a client never becomes a name in a path
// before isPlainName() has said yes. What fails tells why in lastError(). Safe from every thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/LocalTime.h"

namespace platform {

/// True when the text may stand as one name in a path: not empty, not "." or "..", no "\", "/" or
/// NUL.
bool isPlainName(std::string_view name);

/// The path as the system spells it, for a third-party library that opens a file itself.
std::string nativePath(std::string_view path);
/// The reverse, made absolute: for paths that a person typed on a command line.
std::string fromNativePath(std::string_view native);

bool fileExists(std::string_view path);
bool directoryExists(std::string_view path);
/// Makes all missing levels; on POSIX with the given permission bits (before the umask).
bool createDirectories(std::string_view path, unsigned mode = 0750);
/// False when there is no such file.
bool removeFile(std::string_view path);
/// Links in it are removed, not followed. True when it is not there afterwards.
bool removeDirectoryTree(std::string_view path);
/// Replaces a file of the new name; also changes the case of a name.
bool renameFile(std::string_view from, std::string_view to);
/// Makes or replaces a link; a file copy where there are no links.
bool linkFile(std::string_view target, std::string_view link);
enum class NameKind { kNothing, kFile, kDirectory, kLink, kOther };
/// What stands at that path itself; links are not followed.
NameKind kindOf(std::string_view path);
/// Whether nobody but its owner can read or write the file; false when there is none.
bool isPrivateFile(std::string_view path);
bool makePrivate(std::string_view path);
/// UTC, with milliseconds; nothing when there is no such file.
std::optional<DateTime> lastWriteTime(std::string_view path);
/// What changes when a file is written or replaced by another.
struct FileStamp {
    uint64_t volume = 0;
    uint64_t identity = 0;  ///< on its volume
    int64_t size = 0;
    int64_t writtenNs = 0;

    friend bool operator==(const FileStamp&, const FileStamp&) = default;
};
/// Nothing when there is no such file.
std::optional<FileStamp> fileStamp(std::string_view path);
/// Names in a directory, without "." and "..", in no order.
std::vector<std::string> listDirectory(std::string_view path);

/// The whole file, or nothing when it cannot be read or holds more than maxBytes.
std::optional<std::string> readFile(std::string_view path, size_t maxBytes);
/// Writes a new file beside it and puts it in its place in one step; readers see the old or the
/// new, never a part. Behind a link the file is replaced, not the link. With durable the bytes are
/// on disk when this returns true. With a stamp a file that has another one by now is left alone,
/// and the last error is kErrorFileChanged.
bool replaceFile(std::string_view path, std::string_view bytes, unsigned mode = 0640,
                 bool durable = false, const std::optional<FileStamp>& expected = {});
/// Writes over a file of that very length where it stands, for a fraction of what replacing it
/// costs: no new file, nothing that the system has to have on disk first. Whoever reads at the same
/// moment may see the first bytes new and the others old. False, with the file as it was or half
/// written, when there is no such file or it cannot be done.
bool overwriteFile(std::string_view path, std::string_view bytes);

/// A name beside that path which nothing has.
std::string temporaryName(std::string_view path);
/// Whether a name is one that was meant to be temporary; it stays when its process is killed.
bool isTemporaryName(std::string_view name);

/// All that has been written to the file system on which the path lies is on disk afterwards.
bool syncFileSystem(std::string_view path);

/// A file that is written under a temporary name beside its own until it is whole; what has not
/// been placed is removed again.
class NewFile {
  public:
    /// Null when it cannot be made.
    static std::unique_ptr<NewFile> make(std::string_view path, unsigned mode);
    virtual ~NewFile() = default;
    virtual bool write(std::string_view bytes) = 0;
    /// Gives it its name, durably; false, too, when there is something of that name by now.
    virtual bool place() = 0;
};

/// A file opened for appending that other processes may write, rename and delete meanwhile.
class AppendFile {
  public:
    /// Null when it cannot be opened. Mode: permission bits of a file that is made.
    static std::unique_ptr<AppendFile> open(std::string_view path, unsigned mode = 0640,
                                            bool truncate = false);
    virtual ~AppendFile() = default;
    /// One write call for all bytes; false when they could not all be written.
    virtual bool write(std::string_view bytes) = 0;
    virtual void flush() = 0;
    virtual int64_t length() const = 0;
    virtual bool close() = 0;
};

/// A lock between processes, held on a file until it is given back or the process ends. Two locks
/// of one process exclude each other as well.
class FileLock {
  public:
    static constexpr std::chrono::milliseconds kForEver{-1};

    /// Waits for the lock, first come, first served; null when the file cannot be made, or when the
    /// lock was not to be had in time (isTimeout(lastError())).
    static std::unique_ptr<FileLock> acquire(std::string_view path,
                                             std::chrono::milliseconds limit = kForEver);
    /// Does not wait: null too when somebody else holds the lock.
    static std::unique_ptr<FileLock> tryAcquire(std::string_view path) {
        return acquire(path, std::chrono::milliseconds(0));
    }
    virtual ~FileLock() = default;
};

}  // namespace platform
