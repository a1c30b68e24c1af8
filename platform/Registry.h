// The product's values of the machine registry.
//
// On POSIX they stand in an INI file: the one named by the environment variable CORVANE_REGISTRY,
// else /etc/corvane/registry.ini; a key is a section there. Names match without regard to case.
// Safe from every thread; the file is read again when it changed.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

struct RegistryText {
    uint32_t error = 0;  ///< 0, or the system's code when the key or the value cannot be read
    std::string text;    ///< without a terminator; at most maxBytes - 1 bytes
};

/// Reads a text value below the local machine root. A value of maxBytes or more is an error.
RegistryText readRegistryText(std::string_view key, std::string_view valueName, size_t maxBytes);

/// The path of the file that stands for the registry (empty where there is a real one).
std::string registryFilePath();

/// Makes that file stand for the registry in this process, its libraries and the programs it
/// starts. For the start of a program, while no other thread runs.
bool useRegistryFile(std::string_view path);

}  // namespace platform
