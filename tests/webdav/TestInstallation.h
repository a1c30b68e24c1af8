// A product installation in a directory of its own: registry, settings files, log directory.
#pragma once

#include <string>

#include "platform/Files.h"
#include "platform/PrivateProfile.h"
#include "platform/Registry.h"
#include "tests/platform/TemporaryDirectory.h"
#include "webdav/base/Settings.h"

class TestInstallation {
  public:
    TestInstallation() {
        platform::useRegistryFile(directory_.path("registry.ini"));
        setRegistry("AppPath", directory_.path("bin"));
        setRegistry("IniPath", directory_.path("Corvane.ini"));
        setMain("Directories", "LogFiles", logPath() + "\\");
        platform::createDirectories(logPath());
        platform::createDirectories(directory_.path("Webstrand"));
        webdav::SetInstallation(directory_.path("bin"));
    }

    std::string path(const std::string& name) const { return directory_.path(name); }
    std::string logPath(const std::string& name = {}) const {
        return directory_.path(name.empty() ? "Logs" : "Logs\\" + name);
    }
    std::string log(const std::string& name) const { return file(logPath(name)); }
    static std::string file(const std::string& path) {
        return platform::readFile(path, size_t{64} << 20).value_or("(no file)");
    }

    void setRegistry(const std::string& name, const std::string& value) const {
        platform::writeProfileText(directory_.path("registry.ini"),
                                   "SOFTWARE\\Quindle Software\\Corvane", name, value);
    }
    void setMain(const std::string& section, const std::string& key,
                 const std::string& value) const {
        platform::writeProfileText(directory_.path("Corvane.ini"), section, key, value);
    }
    void setWebstrand(const std::string& key, const std::string& value) const {
        platform::writeProfileText(webdav::WebstrandIniPath(), "WebDAV", key, value);
    }

  private:
    TemporaryDirectory directory_;
};
