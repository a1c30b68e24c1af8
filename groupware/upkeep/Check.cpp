#include "groupware/upkeep/Check.h"

#include <algorithm>

#include "groupware/upkeep/Checks.h"

namespace groupware {

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
    run.part([&] { checkFiles(run, libraryDirectory); });
    run.part([&] { checkDatabase(run); });
    run.part([&] { checkItems(run); });
    run.part([&] { checkMirrors(run); });
    return std::move(run.report);
}

}  // namespace groupware
