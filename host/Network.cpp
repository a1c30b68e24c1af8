#include "host/Network.h"

#include <algorithm>
#include <charconv>

namespace host {
namespace {

namespace ip = boost::asio::ip;

constexpr unsigned kV4Offset = 96;
constexpr unsigned kAllBits = 128;
constexpr size_t kLongestAddress = 64;

std::optional<ip::address_v6> readAddress(std::string_view text) {
    if (text.empty() || text.size() > kLongestAddress || text.find('%') != std::string_view::npos)
        return std::nullopt;
    boost::system::error_code error;
    const ip::address address = ip::make_address(std::string(text), error);
    if (error) return std::nullopt;
    return address.is_v4() ? ip::make_address_v6(ip::v4_mapped, address.to_v4()) : address.to_v6();
}

/// Most addresses are such, and the system's way to write them is a long one.
std::string v4Text(const ip::address_v4& address) {
    std::string text;
    for (const unsigned char byte : address.to_bytes()) {
        if (!text.empty()) text += '.';
        std::array<char, 3> digits;
        const auto end = std::to_chars(digits.begin(), digits.end(), unsigned{byte}).ptr;
        text.append(digits.data(), end);
    }
    return text;
}

}  // namespace

std::string addressText(const ip::address& address) {
    if (address.is_v4()) return v4Text(address.to_v4());
    ip::address_v6 v6 = address.to_v6();
    if (v6.is_v4_mapped()) return v4Text(ip::make_address_v4(ip::v4_mapped, v6));
    v6.scope_id(0);
    return v6.to_string();
}

Network::Network(const Bytes& address, unsigned bits)
    : first_(masked(address, bits)), bits_(bits) {}

std::optional<Network::Bytes> Network::bytesOf(std::string_view address) {
    const std::optional<ip::address_v6> v6 = readAddress(address);
    if (!v6) return std::nullopt;
    return v6->to_bytes();
}

Network::Bytes Network::masked(Bytes address, unsigned bits) {
    for (unsigned i = bits; i < kAllBits; ++i) {
        address[i / 8] &= static_cast<uint8_t>(~(0x80U >> (i % 8)));
    }
    return address;
}

std::optional<Network> Network::parse(std::string_view text) {
    const std::string_view address = text.substr(0, text.find('/'));
    const std::optional<Bytes> bytes = bytesOf(address);
    if (!bytes) return std::nullopt;
    if (address.size() == text.size()) return Network(*bytes, kAllBits);
    const unsigned offset = address.find(':') == std::string_view::npos ? kV4Offset : 0;
    const char* end = text.data() + text.size();
    unsigned bits = 0;
    const auto [rest, error] = std::from_chars(text.data() + address.size() + 1, end, bits);
    if (error != std::errc() || rest != end || bits > kAllBits - offset) return std::nullopt;
    return Network(*bytes, bits + offset);
}

std::optional<Network> Network::around(std::string_view address, unsigned v4Bits, unsigned v6Bits) {
    const std::optional<ip::address_v6> v6 = readAddress(address);
    if (!v6) return std::nullopt;
    return Network(v6->to_bytes(), v6->is_v4_mapped() ? kV4Offset + v4Bits : v6Bits);
}

bool Network::contains(std::string_view address) const {
    const std::optional<Bytes> bytes = bytesOf(address);
    return bytes && masked(*bytes, bits_) == first_;
}

std::string Network::text() const {
    const ip::address_v6 address(first_);
    const unsigned bits = address.is_v4_mapped() && bits_ >= kV4Offset ? bits_ - kV4Offset : bits_;
    return addressText(address) + "/" + std::to_string(bits);
}

std::string Network::key() const {
    std::string key(first_.begin(), first_.end());
    key += static_cast<char>(bits_);
    return key;
}

bool isLoopback(std::string_view address) {
    const std::optional<ip::address_v6> v6 = readAddress(address);
    if (!v6) return false;
    return v6->is_v4_mapped() ? ip::make_address_v4(ip::v4_mapped, *v6).is_loopback()
                              : v6->is_loopback();
}

std::optional<std::string> plainAddress(std::string_view text) {
    if (text.size() > 2 && text.front() == '[' && text.back() == ']') {
        text = text.substr(1, text.size() - 2);
    }
    const std::optional<ip::address_v6> address = readAddress(text);
    if (!address) return std::nullopt;
    return addressText(*address);
}

}  // namespace host
