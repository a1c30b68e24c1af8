// What a data directory is made of beside its database: directories, settings files, links to the
// store libraries. Used by what makes, checks and restores data directories.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "groupware/engine/Engine.h"
#include "groupware/engine/Problem.h"

namespace groupware {

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

/// Library files, or links to them, that are missing.
std::vector<std::string> missingLibraries(const DataPaths& paths);
Problem linkLibraries(const DataPaths& paths, std::string_view libraryDirectory);

}  // namespace groupware
