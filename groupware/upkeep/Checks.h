// The parts of a check; each looks at one thing and tells its faults. Used by Check.cpp alone.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "groupware/upkeep/Check.h"

namespace groupware {

/// What the parts share.
class CheckRun {
  public:
    CheckRun(Engine& data, bool repair, const StageCall& progress)
        : engine(data), repair_(repair), progress_(progress) {}

    /// Mends it at once when that is wanted and there is a remedy, which tells whether it worked.
    void tell(std::string what, const std::function<bool()>& remedy = {}) {
        const bool mended = repair_ && remedy && remedy();
        report.faults.push_back({std::move(what), static_cast<bool>(remedy), mended});
    }
    void progress(std::string_view stage, uint64_t done, uint64_t total) {
        if (progress_) progress_(stage, done, total);
    }
    /// A part whose data cannot be read ends with that as its last fault.
    template <typename Part>
    void part(Part body) {
        try {
            body();
        } catch (const DatabaseError& error) {
            const bool isTold = !report.faults.empty() && report.faults.back().what == error.what();
            if (!isTold) tell(error.what());
        }
    }
    bool repairs() const { return repair_; }

    Engine& engine;
    CheckReport report;

  private:
    bool repair_;
    const StageCall& progress_;
};

/// Directories, settings, libraries.
void checkFiles(CheckRun& run, std::string_view libraryDirectory);
void checkDatabase(CheckRun& run);
/// Every item's text against its row.
void checkItems(CheckRun& run);
/// The directories below Mail\ and Public\.
void checkMirrors(CheckRun& run);

}  // namespace groupware
