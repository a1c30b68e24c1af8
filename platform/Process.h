// What a long-running program asks of the system for itself, once, at its start.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace platform {

/// Lets this process open as many files and sockets as the system allows it; how many that is.
size_t raiseOpenFileLimit();

/// The permission bits that files and directories made from now on do not get.
void setFileCreationMask(unsigned mask);

/// Goes on as that user, with its groups and no way back; all threads do. Result: what went wrong,
/// or nothing.
std::optional<std::string> becomeUser(const std::string& name);

}  // namespace platform
