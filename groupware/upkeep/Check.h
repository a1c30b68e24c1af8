// Looks whether a data directory is as every change leaves it, and mends what is not.
//
// Used by cvadmin, while others serve from the same directory: whatever they are just about to
// change is looked at twice. What cannot be read becomes a fault of the report; nothing is raised
// but by the progress call. Nothing that a client wrote is ever removed.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "groupware/engine/Engine.h"

namespace groupware {

struct Fault {
    std::string what;
    bool mendable = false;
    bool mended = false;
};

struct CheckReport {
    std::vector<Fault> faults;
    size_t accounts = 0;
    size_t folders = 0;
    size_t items = 0;
};

/// What a long run is at, and how far it is there.
using StageCall = std::function<void(std::string_view stage, uint64_t done, uint64_t total)>;

/// With repair, mends what can be. The library directory is what bin\ is to link to.
CheckReport checkDataDirectory(Engine& engine, std::string_view libraryDirectory, bool repair,
                               const StageCall& progress);

}  // namespace groupware
