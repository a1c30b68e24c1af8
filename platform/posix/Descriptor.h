// An owned file descriptor and the loops that every read and write needs.
//
// What fails leaves its cause in errno; closing never disturbs it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor();
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    bool valid() const { return fd_ >= 0; }
    int get() const { return fd_; }
    /// False when the system could not keep what was written.
    bool close();

  private:
    int fd_ = -1;
};

/// Opens a file that no program started from this one inherits.
Descriptor openDescriptor(const std::string& native, int flags, unsigned mode = 0);

/// One write call as a rule; goes on after an interruption or a short write.
bool writeAll(const Descriptor& file, std::string_view bytes);

/// Reads to the end; nothing when that fails or there are more than maxBytes.
std::optional<std::string> readAll(const Descriptor& file, size_t maxBytes);

}  // namespace platform
