// How processes that share a data directory wait for each other: not for ever, and not silently.
#pragma once

#include <memory>
#include <string_view>

#include "platform/Files.h"

namespace groupware {

/// The lock on that file. After three seconds a line on standard error tells who waits for what;
/// after fifteen, or when the file cannot be made, DatabaseError is raised.
std::unique_ptr<platform::FileLock> lockBetweenProcesses(std::string_view path);

}  // namespace groupware
