#include <algorithm>
#include <iostream>

#include "admin/Commands.h"
#include "admin/Output.h"
#include "admin/Progress.h"
#include "admin/Session.h"
#include "groupware/upkeep/Backup.h"
#include "groupware/upkeep/Check.h"
#include "platform/DynamicLibrary.h"
#include "platform/Files.h"

namespace admin {

using groupware::CheckReport;
using groupware::Fault;

namespace {

const char* stateOf(const Fault& fault) {
    if (fault.mended) return "mended";
    return fault.mendable ? "--repair mends this" : "not to be mended by a program";
}

void printReport(const CheckReport& report) {
    for (const Fault& fault : report.faults) {
        std::cout << fault.what << " (" << stateOf(fault) << ")\n";
    }
    std::cout << report.accounts << " accounts, " << report.folders << " folders and "
              << report.items << " items checked";
    if (report.faults.empty()) std::cout << ": all well";
    std::cout << '\n';
}

Json jsonOf(const CheckReport& report) {
    Json faults = Json::array();
    for (const Fault& fault : report.faults) {
        faults.push_back(
            {{"fault", fault.what}, {"mendable", fault.mendable}, {"mended", fault.mended}});
    }
    return {{"accounts", report.accounts},
            {"folders", report.folders},
            {"items", report.items},
            {"faults", faults}};
}

}  // namespace

void checkData(Session& session, const Arguments& arguments) {
    CheckReport report;
    {
        Progress progress;
        report = groupware::checkDataDirectory(session.engine(), platform::libraryDirectory(),
                                               arguments.repair, std::ref(progress));
    }
    if (arguments.json) {
        printJson(jsonOf(report));
    } else {
        printReport(report);
    }
    const auto left = std::ranges::count(report.faults, false, &Fault::mended);
    if (left == 0) return;
    const auto mendable = std::ranges::count_if(
        report.faults, [](const Fault& fault) { return fault.mendable && !fault.mended; });
    throw CommandError(std::to_string(left) + " of " + std::to_string(report.faults.size()) +
                       " faults are not mended; --repair mends " + std::to_string(mendable));
}

void makeBackup(Session& session, const Arguments& arguments) {
    {
        Progress progress;
        require(groupware::backUp(session.engine(), platform::fromNativePath(arguments.file),
                                  std::ref(progress)));
    }
    std::cout << "Backed " << session.typedDirectory() << " up to " << arguments.file << ".\n";
}

void restoreData(Session& session, const Arguments& arguments) {
    {
        Progress progress;
        require(groupware::restoreBackup(platform::fromNativePath(arguments.file), session.paths(),
                                         platform::libraryDirectory(), std::ref(progress)));
    }
    std::cout << "Made the data directory " << session.typedDirectory() << " from "
              << arguments.file << ".\n";
}

}  // namespace admin
