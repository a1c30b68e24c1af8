// The command line of cvwebdavd.
#pragma once

#include <optional>
#include <string>

#include "host/Server.h"

namespace host {

struct Options {
    std::string dataDirectory;
    std::string module;       ///< empty: the one that was installed with the program
    std::string user;         ///< to go on as, once all is open; empty: as before
    bool adminAsked = false;  ///< it was said where administrators are listened to, or that not
    ServerSettings server;
};

/// Reads the command line. Nothing when the program is to end at once with the given exit code;
/// what was to be said then has been printed.
std::optional<Options> parseOptions(int argc, const char* const* argv, int& exitCode);

}  // namespace host
