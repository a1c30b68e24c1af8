#include <algorithm>

#include "groupware/engine/DataDirectory.h"
#include "groupware/upkeep/Checks.h"
#include "platform/Files.h"
#include "platform/PrivateProfile.h"

namespace groupware {

namespace {

constexpr size_t kLongestValue = 2048;
constexpr size_t kLargestSettings = size_t{16} * 1024 * 1024;

bool isSetting(const Setting& setting) {
    return platform::readProfileText(setting.file, setting.section, setting.key, "",
                                     kLongestValue) == setting.value;
}

bool write(const std::vector<Setting>& settings) {
    return !writeSettings(settings).has_value();
}

void checkDirectories(CheckRun& run) {
    const DataPaths& paths = run.engine.paths();
    for (const std::string& directory : directoriesOf(paths)) {
        if (platform::directoryExists(directory)) continue;
        run.tell("there is no directory " + platform::nativePath(directory),
                 [&] { return platform::createDirectories(directory); });
    }
    if (!platform::isPrivateFile(paths.database)) {
        run.tell("others may read " + platform::nativePath(paths.database),
                 [&] { return platform::makePrivate(paths.database); });
    }
}

/// A file that is missing gets all of its first settings; of others only those are looked at that
/// tell where things are.
void checkSettings(CheckRun& run, const std::vector<Setting>& settings) {
    std::vector<std::string> unusable;
    for (const Setting& setting : settings) {
        const std::string name = platform::nativePath(setting.file);
        if (std::ranges::count(unusable, setting.file) > 0) continue;
        if (!platform::fileExists(setting.file)) {
            unusable.push_back(setting.file);
            std::vector<Setting> all = settings;
            std::erase_if(all, [&](const Setting& each) { return each.file != setting.file; });
            run.tell("there is no " + name, [&] { return write(all); });
        } else if (!platform::readFile(setting.file, kLargestSettings)) {
            unusable.push_back(setting.file);
            run.tell(name + " cannot be read");
        } else if (setting.isPlace && !isSetting(setting)) {
            run.tell(
                name + ": " + setting.key + " does not name " + platform::nativePath(setting.value),
                [&] { return write({setting}); });
        }
    }
}

void checkDomains(CheckRun& run, const std::vector<std::string>& domains) {
    const std::string& file = run.engine.paths().domainSettings;
    for (const std::string& domain : domains) {
        if (!platform::readProfileText(file, domain, "FQDN", "", kLongestValue).empty()) continue;
        run.tell(platform::nativePath(file) + " does not know the domain " + domain, [&] {
            return write({{file, domain, "FQDN", domain}});
        });
    }
}

}  // namespace

void checkFiles(CheckRun& run, std::string_view libraryDirectory) {
    const DataPaths& paths = run.engine.paths();
    checkDirectories(run);
    const auto domains = run.engine.database().domains();
    checkSettings(run, firstSettings(paths, domains.empty() ? "localhost" : domains.front()));
    checkDomains(run, domains);
    const std::string programs = paths.root + "\\bin";
    for (const std::string& library : missingLibraries(programs)) {
        run.tell("there is no library " + platform::nativePath(programs + "\\" + library), [&] {
            linkLibraries(paths, libraryDirectory);
            return std::ranges::count(missingLibraries(programs), library) == 0;
        });
    }
}

}  // namespace groupware
