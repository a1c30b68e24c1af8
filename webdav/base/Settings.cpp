#include "webdav/base/Settings.h"

#include "platform/PrivateProfile.h"
#include "platform/Registry.h"
#include "webdav/base/INIFile.h"

namespace webdav {

namespace {

constexpr const char* kProductKey = "SOFTWARE\\Quindle Software\\Corvane";
constexpr size_t kRegistryValueSize = 1024;
constexpr size_t kFirstDefaultSize = 256;

struct Installation {
    std::string appPath;
    std::string webstrandDirectory;
};

// Made at its first use, before the log thread that reads it and so gone after that one.
Installation& installation() {
    static Installation instance;
    return instance;
}

void dropClosingBackslash(std::string& path) {
    if (path.ends_with('\\')) path.pop_back();
}

}  // namespace

std::string ReadRegistryString(std::string_view valueName) {
    const platform::RegistryText read =
        platform::readRegistryText(kProductKey, valueName, kRegistryValueSize);
    return read.error == 0 ? read.text : std::string();
}

std::string ReadUserDefault(const char* key, const char* defaultValue, const std::string& path) {
    for (size_t size = kFirstDefaultSize;; size *= 2) {
        std::string value =
            platform::readProfileText(path, "Default:UserDefaults", key, defaultValue, size);
        if (value.size() != size - 1) return value;
    }
}

void SetInstallation(std::string_view appPath) {
    std::string directory(appPath);
    dropClosingBackslash(directory);
    if (const size_t parentEnd = directory.rfind('\\'); parentEnd != std::string::npos)
        directory.resize(parentEnd);
    installation() = {std::string(appPath), directory + "\\Webstrand"};
}

const std::string& AppPath() {
    return installation().appPath;
}

const std::string& WebstrandDirectory() {
    return installation().webstrandDirectory;
}

std::string WebstrandIniPath() {
    const std::string& directory = WebstrandDirectory();
    return directory.empty() ? std::string() : directory + "\\Webstrand.ini";
}

ServiceSwitches ReadServiceSwitches() {
    const platform::Profile settings(WebstrandIniPath());
    const auto read = [&](const char* key, bool otherwise) {
        const auto value = settings.find("WebDAV", key);
        return value ? CINIFile::IsYes(*value) : otherwise;
    };
    return {.enabled = read("Enable", true), .tracing = read("LogMessages", false)};
}

std::string LogDirectory() {
    CINIFile settings;
    settings.path = ReadRegistryString("IniPath");
    settings.section = "Directories";
    std::string directory = settings.ReadString("LogFiles", "");
    dropClosingBackslash(directory);
    return directory;
}

}  // namespace webdav
