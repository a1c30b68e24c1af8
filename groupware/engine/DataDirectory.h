// What a data directory is made of beside its database: directories, settings files, links to the
// store libraries. Used by what makes, checks and restores data directories.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "groupware/engine/Engine.h"
#include "groupware/engine/Problem.h"
#include "platform/Files.h"

namespace groupware {

/// Held in the directory by whoever makes a data directory of it. Raises DatabaseError when another
/// one has it for too long.
class MakingLock {
  public:
    explicit MakingLock(const DataPaths& paths);
    ~MakingLock();
    MakingLock(const MakingLock&) = delete;
    MakingLock& operator=(const MakingLock&) = delete;

    static constexpr const char* kName = "init.lock";

  private:
    std::string path_;
    std::unique_ptr<platform::FileLock> lock_;
};

/// A directory in a data directory to be, in which a restore puts it together.
inline constexpr const char* kRestoringName = "restoring";

struct Setting {
    std::string file;
    std::string section;
    std::string key;
    std::string value;
    bool isPlace = false;  ///< tells where the data directory is, and so has to have this value
};

/// What a new data directory of that first domain says.
std::vector<Setting> firstSettings(const DataPaths& paths, const std::string& domain);
Problem writeSettings(const std::vector<Setting>& settings);

/// Whether a data directory could stand there, going by the path alone.
Problem problemOfRoot(const DataPaths& paths);

/// Without a closing backslash.
std::vector<std::string> directoriesOf(const DataPaths& paths);
Problem makeDirectories(const DataPaths& paths);

/// The store's libraries, by their names without ending, that are not in that directory.
std::vector<std::string> missingLibraries(std::string_view directory);
Problem problemOfLibraries(std::string_view directory);
Problem linkLibraries(const DataPaths& paths, std::string_view libraryDirectory);

}  // namespace groupware
