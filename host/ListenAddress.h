// Where a listener is to listen.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace host {

struct ListenAddress {
    std::string address;  ///< an IP address, without brackets
    uint16_t port = 0;    ///< 0: the system chooses
};

/// Reads "ADDR:PORT", an IPv6 address in brackets.
std::optional<ListenAddress> parseListenAddress(const std::string& text);

}  // namespace host
