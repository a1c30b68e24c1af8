// The process's environment variables. Set them before threads are started: readers are not locked.
#pragma once

#include <string>

namespace platform {

/// Sets or replaces a variable for this process and what it loads; false when the system refuses.
bool setEnvironment(const std::string& name, const std::string& value);

}  // namespace platform
