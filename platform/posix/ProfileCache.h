// Parsed INI files, kept while they are unchanged; used inside the POSIX side only.
//
// Each look-up asks the system once for the file's state, so a change is seen at the next one. Safe
// from every thread; a file that is handed out never changes.
#pragma once

#include <cstdint>
#include <memory>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include <sys/stat.h>

#include "platform/posix/ProfileText.h"

namespace platform {

/// A larger file is not read.
inline constexpr size_t kMaxProfileBytes = size_t{8} << 20;

class ProfileCache {
  public:
    /// The cache of this process.
    static ProfileCache& instance();

    /// Null when there is no such file or it cannot be read.
    std::shared_ptr<const ProfileText> read(std::string_view path);

  private:
    /// Which file it is and when it was touched last. The change time is what nobody can set back;
    /// the time of writing is there for file systems that keep no other.
    struct Stamp {
        uint64_t device = 0;
        uint64_t inode = 0;
        int64_t size = 0;
        int64_t writtenNs = 0;
        int64_t changedNs = 0;

        friend bool operator==(const Stamp&, const Stamp&) = default;
    };
    struct Entry {
        Stamp stamp;
        std::shared_ptr<const ProfileText> text;
    };

    static Stamp stampOf(const struct stat& status);
    std::shared_ptr<const ProfileText> load(const std::string& native);
    void keep(const std::string& native, Entry entry);

    std::shared_mutex mutex_;
    std::unordered_map<std::string, Entry> entries_;  ///< by native path
    size_t bytes_ = 0;                                ///< of all texts in entries_
};

}  // namespace platform
