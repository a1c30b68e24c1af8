#include "groupware/engine/DataDirectory.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "abi/StoreTypes.h"
#include "groupware/db/ProcessLock.h"
#include "groupware/engine/Accounts.h"
#include "groupware/engine/Names.h"
#include "platform/Error.h"
#include "platform/Files.h"
#include "platform/PrivateProfile.h"

namespace groupware {

namespace {

// The buffer of CV_GetDBPath is the tightest that a path of a data directory has to fit into; with
// it the directories of all default folders fit into theirs.
constexpr std::string_view kLongestSettingsName = "\\UserSettings.ini";
constexpr size_t kMostRootBytes = STORE_DB_PATH_SIZE - 1 - kLongestSettingsName.size();

constexpr std::array kDirectories = {"\\bin", "\\Webstrand", "\\Mail", "\\Public", "\\Logs"};
constexpr std::array kLibraries = {"CVUser", "CVCalendar", "libcvgroupware"};
constexpr std::array kLibraryEndings = {".so", ".dll"};

constexpr const char* kProgramKey = "SOFTWARE\\Quindle Software\\Corvane";
constexpr const char* kUserDefaults = "Default:UserDefaults";

std::string registryFile(const DataPaths& paths) {
    return paths.root + "\\registry.ini";
}

Problem cannotMake(const std::string& path) {
    return "cannot make " + platform::nativePath(path) + ": " +
           platform::describeError(platform::lastError());
}

bool isFree(const DataPaths& paths) {
    const auto names = platform::listDirectory(paths.root);
    return names.empty() || names == std::vector<std::string>{MakingLock::kName};
}

Problem problemOfPlace(const DataPaths& paths) {
    if (auto problem = problemOfRoot(paths)) return problem;
    if (platform::directoryExists(paths.root + "\\" + kRestoringName)) {
        return "a restore to " + platform::nativePath(paths.root) +
               " is at work or was broken off; let it end, or begin it again";
    }
    if (!isFree(paths) && !platform::fileExists(registryFile(paths))) {
        return platform::nativePath(paths.root) +
               " is neither empty nor a data directory; choose another one";
    }
    if (!platform::fileExists(paths.database) && !platform::listDirectory(paths.mail).empty()) {
        return platform::nativePath(paths.root) +
               " is a data directory whose database is missing; " +
               "choose another one, or restore a backup to another one";
    }
    if (platform::fileExists(paths.database) &&
        !openSqliteDatabase(paths.database, true)->domains().empty()) {
        return platform::nativePath(paths.root) + " is a data directory already";
    }
    return std::nullopt;
}

/// The path of that library; empty when it is not in the directory.
std::string libraryIn(std::string_view directory, const std::string& stem) {
    while (directory.ends_with('\\')) directory.remove_suffix(1);
    for (const char* ending : kLibraryEndings) {
        std::string path = std::string(directory) + "\\" + stem + ending;
        if (platform::fileExists(path)) return path;
    }
    return {};
}

}  // namespace

MakingLock::MakingLock(const DataPaths& paths)
    : path_(paths.root + "\\" + kName), lock_(lockBetweenProcesses(path_)) {}

MakingLock::~MakingLock() {
    platform::removeFile(path_);
}

// The registry file comes first: it tells a directory of ours, complete or not.
std::vector<Setting> firstSettings(const DataPaths& paths, const std::string& domain) {
    const std::string webmail = paths.root + "\\Webstrand\\Webstrand.ini";
    return {
        {registryFile(paths), kProgramKey, "AppPath", paths.root + "\\bin", true},
        {registryFile(paths), kProgramKey, "IniPath", paths.mainSettings, true},
        {paths.mainSettings, "Directories", "LogFiles", paths.root + "\\Logs"},
        {paths.mainSettings, "Directories", "PublicFolders", paths.publicFolders},
        {paths.mainSettings, "Logs", "LogByDay", "Yes"},
        {paths.mainSettings, "Special", "FullEmailLogin", "1"},
        {paths.mainSettings, "Public Folders", "EnableSharedFolders", "1"},
        {paths.mainSettings, "Public Folders", "EnablePublicFolders", "0"},
        {paths.mainSettings, "Domain", "DomainName", domain},
        {paths.mainSettings, "Store", "Engine", "sqlite"},
        {webmail, "WebDAV", "Enable", "Yes"},
        {webmail, "WebDAV", "LogLevel", "2"},
        {paths.userSettings, kUserDefaults, "EnableWebDAV", "Yes"},
        {paths.userSettings, kUserDefaults, "CalendarFolderName", "Calendar"},
        {paths.userSettings, kUserDefaults, "TasksFolderName", "Tasks"},
        {paths.userSettings, kUserDefaults, "ContactsFolderName", "Contacts"},
        {paths.domainSettings, domain, "FQDN", domain},
    };
}

Problem writeSettings(const std::vector<Setting>& settings) {
    for (const Setting& setting : settings) {
        if (!platform::writeProfileText(setting.file, setting.section, setting.key,
                                        setting.value)) {
            return cannotMake(setting.file);
        }
    }
    return std::nullopt;
}

Problem problemOfRoot(const DataPaths& paths) {
    if (paths.root.size() <= kMostRootBytes) return std::nullopt;
    return "the path " + platform::nativePath(paths.root) +
           " is too long for a data directory: " + "at most " + std::to_string(kMostRootBytes) +
           " bytes fit";
}

std::vector<std::string> directoriesOf(const DataPaths& paths) {
    std::vector<std::string> directories;
    for (const char* name : kDirectories) directories.push_back(paths.root + name);
    return directories;
}

Problem makeDirectories(const DataPaths& paths) {
    for (const std::string& directory : directoriesOf(paths)) {
        if (!platform::createDirectories(directory)) return cannotMake(directory);
    }
    return std::nullopt;
}

std::vector<std::string> missingLibraries(std::string_view directory) {
    std::vector<std::string> missing;
    for (const char* stem : kLibraries) {
        if (libraryIn(directory, stem).empty()) missing.emplace_back(stem);
    }
    return missing;
}

Problem problemOfLibraries(std::string_view directory) {
    const auto missing = missingLibraries(directory);
    if (missing.empty()) return std::nullopt;
    return "the library " + missing.front() + " is not in " + platform::nativePath(directory) +
           "; cvadmin has to be installed with the libraries of the store";
}

Problem linkLibraries(const DataPaths& paths, std::string_view libraryDirectory) {
    if (auto problem = problemOfLibraries(libraryDirectory)) return problem;
    for (const char* stem : kLibraries) {
        const std::string library = libraryIn(libraryDirectory, stem);
        const std::string link = paths.root + "\\bin" + library.substr(library.rfind('\\'));
        if (!platform::linkFile(library, link)) return cannotMake(link);
    }
    return std::nullopt;
}

namespace {

Problem makeDataDirectory(const DataPaths& paths, const std::string& domain,
                          std::string_view libraryDirectory) {
    const auto settings = firstSettings(paths, domain);
    if (auto problem = writeSettings({settings.front()})) return problem;
    if (auto problem = makeDirectories(paths)) return problem;
    if (auto problem = writeSettings(settings)) return problem;
    if (auto problem = linkLibraries(paths, libraryDirectory)) return problem;

    // Last of all, as a domain in the database tells that everything is there.
    const auto database = openSqliteDatabase(paths.database, true);
    const auto change = database->begin();
    change->addDomain(domain);
    change->commit();
    return std::nullopt;
}

}  // namespace

Problem initDataDirectory(const DataPaths& paths, std::string_view domain,
                          std::string_view libraryDirectory) {
    if (!isDomainName(domain)) return std::string(domain) + " is no domain name";
    if (auto problem = problemOfPlace(paths)) return problem;
    if (auto problem = problemOfLibraries(libraryDirectory)) return problem;
    if (!platform::createDirectories(paths.root)) return cannotMake(paths.root);
    // Whoever waited here for another one finds a data directory.
    const MakingLock lock(paths);
    if (auto problem = problemOfPlace(paths)) return problem;
    return makeDataDirectory(paths, lowerAscii(domain), libraryDirectory);
}

}  // namespace groupware
