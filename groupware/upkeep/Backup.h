// A whole data directory in one file, made while others serve from it, and back again.
//
// Used by cvadmin. A backup holds the database as it was at one moment, the settings files of that
// moment, and what else stands below Mail\, Public\ and Spool\; not the logs, and nothing that the
// database tells anew. What cannot be done is told as a Problem and leaves nothing behind;
// DatabaseError is raised when the database fails.
#pragma once

#include <string_view>

#include "groupware/engine/Engine.h"
#include "groupware/engine/Problem.h"
#include "groupware/upkeep/Check.h"

namespace groupware {

/// The file, by the product's path rule, must not exist; it is there when it is whole and on disk.
Problem backUp(Engine& engine, std::string_view file, const StageCall& progress);

/// Makes the data directory from the file. It must not exist yet, or be empty; it is there when all
/// has been verified and is on disk. Settings that name the former directory name the new one.
Problem restoreBackup(std::string_view file, const DataPaths& paths,
                      std::string_view libraryDirectory, const StageCall& progress);

}  // namespace groupware
