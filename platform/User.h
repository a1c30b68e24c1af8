// Whom the process runs as. For the start of a program, while no other thread runs.
#pragma once

#include <string_view>

namespace platform {

/// Makes a process that root started the user who owns that file or directory, for good, so that
/// what it makes there belongs to the same one. Nothing is done without such a file, or when it is
/// root's. False when it fails.
bool becomeOwnerOf(std::string_view path);

}  // namespace platform
