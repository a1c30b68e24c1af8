// cvwebdavd: serves a data directory over HTTP through the extension, until it is told to stop.

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <system_error>

#include "host/ExtensionModule.h"
#include "host/Log.h"
#include "host/Options.h"
#include "host/Server.h"
#include "platform/DynamicLibrary.h"
#include "platform/Error.h"
#include "platform/Files.h"
#include "platform/Memory.h"
#include "platform/PrivateProfile.h"
#include "platform/Process.h"
#include "platform/Registry.h"

namespace {

constexpr int kCannot = 1;
constexpr const char* kProductKey = "SOFTWARE\\Quindle Software\\Corvane";
constexpr size_t kLongestPath = 1024;
/// Nothing of the data is for people who are neither the user nor in its group.
constexpr unsigned kCreationMask = 027;
/// For a thread that makes answers of megabytes, one after another; kept until the server rests.
constexpr int kKeptMemory = 16 << 20;
constexpr size_t kDescriptorsForFiles = 128;
constexpr size_t kDescriptorsForThread = 8;

int fail(const std::string& problem) {
    host::logProblem(problem);
    return kCannot;
}

int serve(const host::Options& options, host::ExtensionModule& module) {
    host::Server server(options.server, module);
    if (const auto problem = server.open()) return fail(*problem);
    // From here on nothing needs the rights of the user who opened low ports and read the key.
    if (!options.user.empty()) {
        if (const auto problem = platform::becomeUser(options.user)) {
            return fail("cannot go on as the user " + options.user + ": " + *problem);
        }
    }
    if (const auto problem = server.openLogs()) return fail(*problem);
    if (const auto problem = server.openAdmin()) {
        // Where nobody asked for it, serving goes before watching.
        if (options.adminAsked) return fail(*problem);
        host::logProblem(*problem);
    }
    server.obeySignals();
    if (!module.start()) {
        return fail("the extension refused to start, error " +
                    std::to_string(platform::lastError()) +
                    "; its log tells why, in the directory that LogFiles in " +
                    options.dataDirectory + "/Corvane.ini names");
    }
    for (const std::string& url : server.urls()) {
        std::cout << "cvwebdavd: serving on " << url << std::endl;
    }
    if (!server.run()) {
        // A call that never returns cannot be waited for, and nothing may be torn down under it.
        host::logProblem("requests were still running when the time to finish them was over");
        std::_Exit(kCannot);
    }
    module.terminate();
    return 0;
}

/// A data directory that was copied still names the settings, and so the data, of the first one.
void warnOfForeignSettings(const std::string& dataDirectory) {
    const std::string settings =
        platform::readRegistryText(kProductKey, "IniPath", kLongestPath).text;
    std::error_code error;
    const auto here = std::filesystem::path(dataDirectory) / "Corvane.ini";
    if (settings.empty() ||
        std::filesystem::equivalent(here, platform::nativePath(settings), error))
        return;
    host::logProblem("the registry.ini of " + dataDirectory + " names the settings " +
                     platform::nativePath(settings) +
                     ", so that directory's data is served; if this one was copied or moved, "
                     "correct the paths in registry.ini and Corvane.ini");
}

/// Connections may take all descriptors but those that the extension needs for its files.
void reserveDescriptors(host::ServerSettings& settings) {
    const size_t limit = platform::raiseOpenFileLimit();
    const size_t ownNeed = kDescriptorsForFiles + settings.threads * kDescriptorsForThread;
    settings.limits.maxConnections = limit > 2 * ownNeed ? limit - ownNeed : limit / 2;
}

/// The store, as the extension finds it.
std::string storeLibrary() {
    const std::string place = platform::readRegistryText(kProductKey, "AppPath", kLongestPath).text;
    const std::string settings =
        platform::readRegistryText(kProductKey, "IniPath", kLongestPath).text;
    const std::string type =
        platform::readProfileText(settings, "Advanced", "UserDllType", "", kLongestPath);
    return place + "\\CVUser" + type;
}

/// The socket that cvadmin looks for, unless another place was asked for.
void completeAdmin(host::Options& options) {
    options.server.dataDirectory = platform::fromNativePath(options.dataDirectory);
    options.server.storeLibrary = storeLibrary();
    if (options.adminAsked) return;
    options.server.adminListen = "unix:" + options.dataDirectory + "/run/cvwebdavd.sock";
}

}  // namespace

int main(int argc, char** argv) {
    int exitCode = 0;
    auto options = host::parseOptions(argc, argv, exitCode);
    if (!options) return exitCode;
    platform::setFileCreationMask(kCreationMask);
    platform::keepUnusedMemory(kKeptMemory);
    reserveDescriptors(options->server);

    const std::string registry =
        platform::fromNativePath(options->dataDirectory) + "\\registry.ini";
    if (!platform::fileExists(registry)) {
        return fail(options->dataDirectory +
                    " is no data directory: it has no registry.ini; make " +
                    "one with: cvadmin --data " + options->dataDirectory + " init --domain DOMAIN");
    }
    if (!platform::useRegistryFile(registry))
        return fail("cannot make " + platform::nativePath(registry) + " the registry");

    completeAdmin(*options);
    warnOfForeignSettings(options->dataDirectory);
    const std::string path = options->module.empty() ? platform::libraryDirectory() + "CVWebDAV"
                                                     : platform::fromNativePath(options->module);
    host::ExtensionModule module;
    if (const auto problem = module.load(path)) {
        return fail("cannot load the extension " + platform::nativePath(path) + ": " + *problem +
                    "; name its file with --module");
    }
    return serve(*options, module);
}
