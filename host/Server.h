// The web server: its listeners and its life from the first connection to the last.
//
// open() and run() are called by one thread, which becomes the event loop; stop() and reload() may
// be called from any. The extension must have been started before run() and is not terminated here.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/AccessLog.h"
#include "host/ExtensionModule.h"
#include "host/Limits.h"
#include "host/ListenAddress.h"
#include "host/Network.h"

namespace host {

struct ServerSettings {
    std::vector<ListenAddress> plain;
    std::vector<ListenAddress> tls;
    std::string certificateFile;
    std::string keyFile;
    std::vector<Network> trustedProxies;
    std::string adminListen;  ///< "unix:PATH" or "ADDR:PORT"; empty: nowhere
    std::string accessLog;    ///< a file; empty: none is written
    AccessLog::Format accessLogFormat = AccessLog::Format::kCombined;
    std::string dataDirectory;  ///< whose health is watched (backslashes); empty: no one's
    std::string storeLibrary;   ///< abi/CVUser.h, whose health is watched; empty: no one's
    size_t threads = 4;
    Limits limits;
};

class Server {
  public:
    Server(ServerSettings settings, const ExtensionModule& module);
    /// Waits for the extension calls in progress.
    ~Server();

    /// Opens all listeners; connections wait until run(). Result: what went wrong, or nothing.
    std::optional<std::string> open();
    /// The address of each listener, with the port that it really has.
    std::vector<std::string> urls() const;

    /// Opens what is made with the rights that the server goes on with: the access log and the
    /// listener for administrators. Result: what went wrong, or nothing.
    std::optional<std::string> openLogs();
    std::optional<std::string> openAdmin();

    /// Lets SIGTERM and SIGINT stop the server, and SIGHUP reload it.
    void obeySignals();
    /// Serves until it is stopped, then finishes the requests in progress as long as the drain
    /// time lasts. False when an extension call was still running after that.
    bool run();
    /// Reads certificate and key again and opens the access log again; what cannot be used changes
    /// nothing.
    void reload();
    void stop();

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace host
