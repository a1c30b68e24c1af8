// One request as the host received it: what the extension may ask about.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/RequestHead.h"
#include "host/RequestTarget.h"

namespace host {

struct ConnectionInfo {
    std::string remoteAddress;
    uint16_t remotePort = 0;
    std::string localAddress;
    uint16_t localPort = 0;
    bool secure = false;
};

struct Request {
    ConnectionInfo connection;
    RequestHead head;
    RequestTarget target;
    std::string body;  ///< as much of it as came
    /// Why the rest of the body did not come, as a system error; 0 when the client closed.
    std::optional<uint32_t> cutShort;

    /// The length that the body was to have. A chunked one that was cut short names none: then it
    /// is more than what came.
    size_t bodySize() const {
        if (!cutShort) return body.size();
        return static_cast<size_t>(head.contentLength().value_or(body.size() + 1));
    }
};

}  // namespace host
