#include "platform/Environment.h"

#include <cstdlib>

namespace platform {

bool setEnvironment(const std::string& name, const std::string& value) {
    return ::setenv(name.c_str(), value.c_str(), 1) == 0;
}

}  // namespace platform
