// One request as the host received it, whole: what the extension may ask about.
#pragma once

#include <cstdint>
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
    std::string body;
};

}  // namespace host
