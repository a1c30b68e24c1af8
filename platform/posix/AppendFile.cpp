#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/Files.h"
#include "platform/posix/Descriptor.h"
#include "platform/posix/PathLookup.h"

namespace platform {
namespace {

class PosixAppendFile final : public AppendFile {
  public:
    explicit PosixAppendFile(Descriptor file) : file_(std::move(file)) {}

    bool write(std::string_view bytes) override { return writeAll(file_, bytes); }
    // Nothing is held back in the process: the system has every byte once write() returns.
    void flush() override {}
    int64_t length() const override {
        struct stat status {};
        return ::fstat(file_.get(), &status) == 0 ? status.st_size : 0;
    }
    bool close() override { return file_.close(); }

  private:
    Descriptor file_;
};

}  // namespace

std::unique_ptr<AppendFile> AppendFile::open(std::string_view path, unsigned mode, bool truncate) {
    const int flags = O_WRONLY | O_APPEND | O_CREAT | (truncate ? O_TRUNC : 0);
    Descriptor file = openDescriptor(findPath(path).native, flags, mode);
    if (!file.valid()) return nullptr;
    return std::make_unique<PosixAppendFile>(std::move(file));
}

}  // namespace platform
