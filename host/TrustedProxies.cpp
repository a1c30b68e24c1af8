#include "host/TrustedProxies.h"

#include <algorithm>
#include <charconv>
#include <string>

#include "host/Ascii.h"
#include "host/RequestTarget.h"

namespace host {
namespace {

constexpr uint16_t kHttpPort = 80;
constexpr uint16_t kHttpsPort = 443;

/// Cuts off and returns the last part of a list that commas divide.
std::string_view takeLast(std::string_view& list) {
    const size_t comma = list.rfind(',');
    const size_t start = comma == std::string_view::npos ? 0 : comma + 1;
    const std::string_view part = trimmed(list.substr(start));
    list = list.substr(0, start == 0 ? 0 : comma);
    return part;
}

/// The port behind the colon; 0 when there is none.
uint16_t portOf(std::string_view colonAndPort) {
    uint16_t port = 0;
    if (colonAndPort.starts_with(':')) {
        std::from_chars(colonAndPort.data() + 1, colonAndPort.data() + colonAndPort.size(), port);
    }
    return port;
}

struct Hop {
    std::optional<std::string> address;
    uint16_t port = 0;
};

/// An address, or one with a port: 192.0.2.7:50123 or [2001:db8::7]:50123.
Hop readHop(std::string_view text) {
    if (auto address = plainAddress(text)) return {std::move(address), 0};
    const std::string_view host = hostOfAuthority(text);
    return {plainAddress(host), portOf(text.substr(host.size()))};
}

/// The port that the client sees is not told; it stands in the authority, or is the scheme's own.
uint16_t outerPort(const Request& request) {
    const std::string authority = request.target.authority.empty()
                                      ? request.head.value("Host").value_or("")
                                      : request.target.authority;
    const std::string_view host = hostOfAuthority(authority);
    const uint16_t port = portOf(std::string_view(authority).substr(host.size()));
    if (port != 0) return port;
    return request.connection.secure ? kHttpsPort : kHttpPort;
}

}  // namespace

bool TrustedProxies::trusts(std::string_view address) const {
    return std::ranges::any_of(networks_,
                               [&](const Network& network) { return network.contains(address); });
}

void TrustedProxies::apply(Request& request) const {
    ConnectionInfo& connection = request.connection;
    if (!trusts(connection.remoteAddress)) return;
    const std::string protocols = request.head.value("X-Forwarded-Proto").value_or("");
    std::string_view protocolList = protocols;
    const std::string_view protocol = takeLast(protocolList);
    if (sameText(protocol, "https") || sameText(protocol, "http")) {
        connection.secure = sameText(protocol, "https");
        connection.localPort = outerPort(request);
    }
    const std::string hops = request.head.value("X-Forwarded-For").value_or("");
    std::string_view rest = hops;
    while (!rest.empty() && trusts(connection.remoteAddress)) {
        Hop hop = readHop(takeLast(rest));
        if (!hop.address) return;
        connection.remoteAddress = std::move(*hop.address);
        connection.remotePort = hop.port;
    }
}

}  // namespace host
