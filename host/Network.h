// A block of network addresses: one machine's, a client's network, what a proxy listens on.
//
// A value; IPv4 addresses are the same whether they came as such or within an IPv6 address.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <boost/asio/ip/address.hpp>

namespace host {

class Network {
  public:
    /// Reads "192.0.2.0/24", "2001:db8::/32" or a single address.
    static std::optional<Network> parse(std::string_view text);
    /// The network of that many leading bits that an address belongs to; nothing when the text is
    /// no address.
    static std::optional<Network> around(std::string_view address, unsigned v4Bits,
                                         unsigned v6Bits);

    /// False as well for a text that is no address.
    bool contains(std::string_view address) const;
    std::string text() const;
    /// Another for each block, and shorter to make than its text; no text itself.
    std::string key() const;

  private:
    /// In the form of IPv6; the bits count from its start.
    using Bytes = std::array<uint8_t, 16>;

    Network(const Bytes& address, unsigned bits);
    static std::optional<Bytes> bytesOf(std::string_view address);
    static Bytes masked(Bytes address, unsigned bits);

    Bytes first_;
    unsigned bits_;
};

/// An address as it is shown and compared everywhere, without zone or IPv6 around IPv4.
std::string addressText(const boost::asio::ip::address& address);

/// The same of a text, which may have brackets; nothing when it is no address.
std::optional<std::string> plainAddress(std::string_view text);

/// True for an address that no other machine can reach.
bool isLoopback(std::string_view address);

}  // namespace host
