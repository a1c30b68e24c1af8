// Names for files that are about to take another file's place; used inside the POSIX side only.
#pragma once

#include <string>

namespace platform {

/// A new hidden name in the directory of a native path. It is random, so two that work on the same
/// file at once never meet.
std::string temporaryNameBeside(const std::string& native);

}  // namespace platform
