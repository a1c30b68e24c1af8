#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "platform/Error.h"
#include "platform/Files.h"
#include "platform/posix/Descriptor.h"
#include "platform/posix/PathLookup.h"
#include "platform/posix/TemporaryName.h"

namespace platform {
namespace {

struct FreeText {
    void operator()(char* text) const { std::free(text); }
};

/// A file that is removed again unless it took its place.
class NewFile {
  public:
    NewFile(std::string name, unsigned mode)
        : name_(std::move(name)),
          file_(openDescriptor(name_, O_WRONLY | O_CREAT | O_EXCL, mode)),
          made_(file_.valid()) {}
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile() {
        if (!made_) return;
        const int cause = errno;
        ::unlink(name_.c_str());
        errno = cause;
    }

    bool made() const { return made_; }
    bool write(std::string_view bytes, unsigned mode, bool durable) {
        return ::fchmod(file_.get(), static_cast<mode_t>(mode)) == 0 && writeAll(file_, bytes) &&
               (!durable || ::fsync(file_.get()) == 0);
    }
    /// Keeps the owner where we may, so that an administrator's tool does not take a settings
    /// file away from the server.
    void giveTo(const struct stat& former) {
        if (former.st_uid == ::geteuid() && former.st_gid == ::getegid()) return;
        [[maybe_unused]] const int kept = ::fchown(file_.get(), former.st_uid, former.st_gid);
    }
    bool moveTo(const std::string& target) {
        if (!file_.close() || std::rename(name_.c_str(), target.c_str()) != 0) return false;
        made_ = false;
        return true;
    }

  private:
    std::string name_;
    Descriptor file_;
    bool made_;
};

/// Follows a link, so that the file behind it is replaced and not the link.
std::string behindLinks(std::string native) {
    struct stat status {};
    if (::lstat(native.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return native;
    const std::unique_ptr<char, FreeText> real(::realpath(native.c_str(), nullptr));
    return real ? std::string(real.get()) : native;
}

bool syncDirectory(const std::string& native) {
    const Descriptor directory = openDescriptor(native, O_RDONLY | O_DIRECTORY);
    return directory.valid() && ::fsync(directory.get()) == 0;
}

}  // namespace

bool replaceFile(std::string_view path, std::string_view bytes, unsigned mode, bool durable,
                 const std::optional<FileStamp>& expected) {
    const FoundPath found = findPath(path);
    if (found.native.empty()) return false;
    const std::string target = behindLinks(found.native);
    NewFile file(temporaryNameBeside(target), mode);
    if (!file.made()) return false;
    if (found.exists) file.giveTo(found.status);
    if (!file.write(bytes, mode, durable)) return false;
    // Last of all, as writing takes its time.
    if (expected && fileStamp(target) != expected) {
        setLastError(kErrorFileChanged);
        return false;
    }
    return file.moveTo(target) && (!durable || syncDirectory(nativeParent(target)));
}

}  // namespace platform
