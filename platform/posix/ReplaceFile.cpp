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
class TemporaryFile {
  public:
    TemporaryFile(std::string name, unsigned mode)
        : name_(std::move(name)),
          file_(openDescriptor(name_, O_WRONLY | O_CREAT | O_EXCL, mode)),
          made_(file_.valid()) {}
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (!made_) return;
        const int cause = errno;
        ::unlink(name_.c_str());
        errno = cause;
    }

    bool made() const { return made_; }
    bool setMode(unsigned mode) { return ::fchmod(file_.get(), static_cast<mode_t>(mode)) == 0; }
    bool write(std::string_view bytes) { return writeAll(file_, bytes); }
    bool sync() { return ::fsync(file_.get()) == 0; }
    /// Keeps the owner where we may, so that an administrator's tool does not take a settings
    /// file away from the server.
    void giveTo(const struct stat& former) {
        if (former.st_uid == ::geteuid() && former.st_gid == ::getegid()) return;
        [[maybe_unused]] const int kept = ::fchown(file_.get(), former.st_uid, former.st_gid);
    }
    bool linkTo(const std::string& target) {
        return file_.close() && ::link(name_.c_str(), target.c_str()) == 0;
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

class PosixNewFile final : public NewFile {
  public:
    PosixNewFile(const std::string& target, unsigned mode)
        : target_(target), file_(temporaryNameBeside(target), mode) {}

    bool made() const { return file_.made(); }
    bool write(std::string_view bytes) override { return file_.write(bytes); }
    bool place() override {
        return file_.sync() && file_.linkTo(target_) && syncDirectory(nativeParent(target_));
    }

  private:
    std::string target_;
    TemporaryFile file_;
};

}  // namespace

bool replaceFile(std::string_view path, std::string_view bytes, unsigned mode, bool durable,
                 const std::optional<FileStamp>& expected) {
    const FoundPath found = findPath(path);
    if (found.native.empty()) return false;
    const std::string target = behindLinks(found.native);
    TemporaryFile file(temporaryNameBeside(target), mode);
    if (!file.made()) return false;
    if (found.exists) file.giveTo(found.status);
    if (!file.setMode(mode) || !file.write(bytes) || (durable && !file.sync())) return false;
    // Last of all, as writing takes its time.
    if (expected && fileStamp(target) != expected) {
        setLastError(kErrorFileChanged);
        return false;
    }
    return file.moveTo(target) && (!durable || syncDirectory(nativeParent(target)));
}

bool overwriteFile(std::string_view path, std::string_view bytes) {
    const FoundPath found = findPath(path);
    const auto& status = found.status;
    // Under another name, too, the file would change: a copy that somebody keeps.
    if (!found.exists || !S_ISREG(status.st_mode) || status.st_nlink != 1) return false;
    if (static_cast<size_t>(status.st_size) != bytes.size()) return false;
    const Descriptor file = openDescriptor(found.native, O_WRONLY);
    return file.valid() && ::pwrite(file.get(), bytes.data(), bytes.size(), 0) == status.st_size;
}

std::unique_ptr<NewFile> NewFile::make(std::string_view path, unsigned mode) {
    auto file = std::make_unique<PosixNewFile>(findPath(path).native, mode);
    if (!file->made()) return nullptr;
    return file;
}

}  // namespace platform
