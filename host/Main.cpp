// cvwebdavd: serves a data directory over HTTP through the extension, until it is told to stop.

#include <cstdlib>
#include <iostream>
#include <string>

#include "host/ExtensionModule.h"
#include "host/Log.h"
#include "host/Options.h"
#include "host/Server.h"
#include "platform/DynamicLibrary.h"
#include "platform/Error.h"
#include "platform/Files.h"
#include "platform/Registry.h"

namespace {

constexpr int kCannot = 1;

int fail(const std::string& problem) {
    host::logProblem(problem);
    return kCannot;
}

int serve(const host::Options& options, host::ExtensionModule& module) {
    host::Server server(options.server, module);
    if (const auto problem = server.open()) return fail(*problem);
    server.stopOnSignals();
    if (!module.start()) {
        return fail("the extension refused to start, error " +
                    std::to_string(platform::lastError()) + "; its log in " +
                    options.dataDirectory + "/Logs tells why");
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

}  // namespace

int main(int argc, char** argv) {
    int exitCode = 0;
    const auto options = host::parseOptions(argc, argv, exitCode);
    if (!options) return exitCode;

    const std::string registry =
        platform::fromNativePath(options->dataDirectory) + "\\registry.ini";
    if (!platform::fileExists(registry)) {
        return fail(options->dataDirectory +
                    " is no data directory: it has no registry.ini; make " +
                    "one with: cvadmin --data " + options->dataDirectory + " init --domain DOMAIN");
    }
    if (!platform::useRegistryFile(registry))
        return fail("cannot make " + platform::nativePath(registry) + " the registry");

    const std::string path = options->module.empty()
                                 ? platform::programDirectory() + "..\\lib\\CVWebDAV"
                                 : platform::fromNativePath(options->module);
    host::ExtensionModule module;
    if (const auto problem = module.load(path)) {
        return fail("cannot load the extension " + platform::nativePath(path) + ": " + *problem +
                    "; name its file with --module");
    }
    return serve(*options, module);
}
