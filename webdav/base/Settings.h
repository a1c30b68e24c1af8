// Where the product is installed and where its settings stand.
//
// The directories are set once at start-up and only read afterwards; everything else is read anew
// at each call, from any thread. A missing value is an empty text.
#pragma once

#include <string>
#include <string_view>

namespace webdav {

/// A text value of the product's registry key, "AppPath" or "IniPath"; at most 1023 bytes.
std::string ReadRegistryString(std::string_view valueName);

/// A value of the section "Default:UserDefaults", whatever its length.
std::string ReadUserDefault(const char* key, const char* defaultValue, const std::string& path);

/// Derives the Webstrand directory from the product's application directory. At start-up, while no
/// request runs and no log thread.
void SetInstallation(std::string_view appPath);
/// The application directory as the registry names it.
const std::string& AppPath();
/// The directory of Webstrand.ini, without a closing backslash.
const std::string& WebstrandDirectory();
/// Empty until the installation is set.
std::string WebstrandIniPath();

/// What the section [WebDAV] of Webstrand.ini switches.
struct ServiceSwitches {
    bool enabled = true;
    bool tracing = false;  ///< whole requests and answers are written to files
};
ServiceSwitches ReadServiceSwitches();

/// The directory of log and trace files by the main settings file, without a closing backslash.
std::string LogDirectory();

}  // namespace webdav
