// The extension module as a web server sees it: loaded as a library, called through its three entry
// points, fed from a control block. Single-threaded. Breaches of the interface raise WireError.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "abi/Isapi.h"
#include "platform/DynamicLibrary.h"

namespace wire {

struct Request {
    /// Takes path and query from what stands in the request line: percent escapes of the path but
    /// those of slashes are decoded once, as cvwebdavd does it.
    void setTarget(std::string_view target);

    std::string method;
    std::string path;
    std::string query;  ///< as sent
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    bool secure = false;
    std::optional<size_t> closedAfter;  ///< the client goes away after so many bytes of the body
};

/// The value of an Authorization header.
std::string basicLogin(const std::string& address, const std::string& password);

class WireServer {
  public:
    /// Loads the module of this build and starts it up.
    WireServer();
    ~WireServer();
    WireServer(const WireServer&) = delete;
    WireServer& operator=(const WireServer&) = delete;

    /// The whole answer as it would go out; empty when the module sent none.
    std::string call(Request& request);

  private:
    platform::DynamicLibrary library_;
};

}  // namespace wire
