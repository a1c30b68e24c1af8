// A file of files: a compressed tar archive, written and read piece by piece.
//
// Used by Backup.cpp and Restore.cpp. Names in it are relative and divided by slashes; the reader
// hands out none that could lead elsewhere. What fails raises ArchiveError.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

struct archive;

namespace groupware {

class ArchiveError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class ArchiveWriter {
  public:
    /// The bytes of the archive go to the sink, which tells whether it could take them.
    using Sink = std::function<bool(std::string_view bytes)>;
    explicit ArchiveWriter(Sink sink);

    /// The file's bytes follow, as many as told.
    void begin(const std::string& name, uint64_t size);
    void write(std::string_view bytes);
    void finish();

  private:
    struct Free {
        void operator()(archive* file) const;
    };

    void check(int64_t result);

    Sink sink_;
    std::unique_ptr<archive, Free> archive_;
};

class ArchiveReader {
  public:
    /// The path is by the product's rule.
    explicit ArchiveReader(std::string_view path);

    /// Goes to the next file; false behind the last.
    bool next(std::string& name);
    /// The next bytes of the file; empty at its end.
    std::string_view read();
    /// How many bytes of the archive have been read.
    uint64_t position() const;

  private:
    struct Free {
        void operator()(archive* file) const;
    };

    void check(int64_t result);

    std::string buffer_;
    std::unique_ptr<archive, Free> archive_;
};

}  // namespace groupware
