#include "groupware/upkeep/Check.h"

#include <algorithm>

#include "groupware/upkeep/Checks.h"

namespace groupware {

namespace {

/// A part whose data cannot be read ends with that as its last fault.
template <typename Part>
void guardedPart(CheckRun& run, Part part) {
    try {
        part();
    } catch (const DatabaseError& error) {
        run.tell(error.what());
    }
}

}  // namespace

void checkDatabase(CheckRun& run) {
    run.progress("database file", 0, 1);
    Database& database = run.engine.database();
    const auto faults = database.faults();
    auto left = faults;
    if (run.repairs() && !faults.empty()) {
        const auto change = database.begin();
        change->mendFaults();
        change->commit();
        left = database.faults();
    }
    for (const DatabaseFault& fault : faults) {
        const bool stays = std::ranges::any_of(
            left, [&](const DatabaseFault& other) { return other.what == fault.what; });
        run.report.faults.push_back({fault.what, fault.mendable, !stays});
    }
}

CheckReport checkDataDirectory(Engine& engine, std::string_view libraryDirectory, bool repair,
                               const StageCall& progress) {
    CheckRun run(engine, repair, progress);
    guardedPart(run, [&] { checkFiles(run, libraryDirectory); });
    guardedPart(run, [&] { checkDatabase(run); });
    guardedPart(run, [&] { checkItems(run); });
    guardedPart(run, [&] { checkMirrors(run); });
    return std::move(run.report);
}

}  // namespace groupware
