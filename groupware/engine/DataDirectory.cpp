#include <array>
#include <string>
#include <vector>

#include "abi/StoreTypes.h"
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

struct Setting {
    std::string file;
    std::string section;
    std::string key;
    std::string value;
};

std::string registryFile(const DataPaths& paths) {
    return paths.root + "\\registry.ini";
}

// The registry file comes first: it tells a directory of ours, complete or not.
std::vector<Setting> firstSettings(const DataPaths& paths, const std::string& domain) {
    const std::string webmail = paths.root + "\\Webstrand\\Webstrand.ini";
    return {
        {registryFile(paths), kProgramKey, "AppPath", paths.root + "\\bin"},
        {registryFile(paths), kProgramKey, "IniPath", paths.mainSettings},
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

Problem cannotMake(const std::string& path) {
    return "cannot make " + platform::nativePath(path) + ": " +
           platform::describeError(platform::lastError());
}

Problem problemOfPlace(const DataPaths& paths) {
    if (paths.root.size() > kMostRootBytes) {
        return "the path " + platform::nativePath(paths.root) +
               " is too long for a data directory: " + "at most " + std::to_string(kMostRootBytes) +
               " bytes fit";
    }
    if (!platform::listDirectory(paths.root).empty() &&
        !platform::fileExists(registryFile(paths))) {
        return platform::nativePath(paths.root) +
               " is neither empty nor a data directory; choose another one";
    }
    if (platform::fileExists(paths.database) &&
        !openSqliteDatabase(paths.database, true)->domains().empty()) {
        return platform::nativePath(paths.root) + " is a data directory already";
    }
    return std::nullopt;
}

Problem makeDirectories(const DataPaths& paths) {
    for (const char* name : kDirectories) {
        const std::string directory = paths.root + name;
        if (!platform::createDirectories(directory)) return cannotMake(directory);
    }
    return std::nullopt;
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

Problem linkLibrary(const DataPaths& paths, const std::string& libraryDirectory,
                    const std::string& stem) {
    for (const char* ending : kLibraryEndings) {
        const std::string library = libraryDirectory + "\\" + stem + ending;
        if (!platform::fileExists(library)) continue;
        const std::string link = paths.root + "\\bin\\" + stem + ending;
        if (!platform::linkFile(library, link)) return cannotMake(link);
        return std::nullopt;
    }
    return "the library " + stem + " is not in " + platform::nativePath(libraryDirectory);
}

Problem linkLibraries(const DataPaths& paths, std::string libraryDirectory) {
    while (libraryDirectory.ends_with('\\')) libraryDirectory.pop_back();
    for (const char* stem : kLibraries) {
        if (auto problem = linkLibrary(paths, libraryDirectory, stem)) return problem;
    }
    return std::nullopt;
}

}  // namespace

Problem initDataDirectory(const DataPaths& paths, std::string_view domain,
                          std::string_view libraryDirectory) {
    if (!isDomainName(domain)) return std::string(domain) + " is no domain name";
    if (auto problem = problemOfPlace(paths)) return problem;
    const std::string name = lowerAscii(domain);
    if (!platform::createDirectories(paths.root)) return cannotMake(paths.root);
    if (auto problem = writeSettings({firstSettings(paths, name).front()})) return problem;
    if (auto problem = makeDirectories(paths)) return problem;
    if (auto problem = writeSettings(firstSettings(paths, name))) return problem;
    if (auto problem = linkLibraries(paths, std::string(libraryDirectory))) return problem;

    // Last of all, as a domain in the database tells that everything is there.
    const auto database = openSqliteDatabase(paths.database, true);
    const auto change = database->begin();
    change->addDomain(name);
    change->commit();
    return std::nullopt;
}

}  // namespace groupware
