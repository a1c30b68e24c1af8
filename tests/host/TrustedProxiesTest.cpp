#include <gtest/gtest.h>

#include "host/TrustedProxies.h"

namespace host {
namespace {

TEST(Network, IsReadAndCompared) {
    const char* const cases[][4] = {
        {"10.1.2.3/8", "10.255.0.1", "11.0.0.1", "10.0.0.0/8"},
        {"192.0.2.7", "192.0.2.7", "192.0.2.6", "192.0.2.7/32"},
        {"192.0.2.7/31", "::ffff:192.0.2.6", "192.0.2.8", "192.0.2.6/31"},
        {"0.0.0.0/0", "255.255.255.255", "::1", "0.0.0.0/0"},
        {"::/0", "192.0.2.7", "nonsense", "::/0"},
        {"2001:db8::1/32", "2001:db8:ffff::", "2001:db9::", "2001:db8::/32"},
        {"::1", "::1", "::2", "::1/128"},
    };
    for (const auto& [given, inside, outside, text] : cases) {
        const auto network = Network::parse(given);
        ASSERT_TRUE(network) << given;
        EXPECT_TRUE(network->contains(inside)) << given;
        EXPECT_FALSE(network->contains(outside)) << given;
        EXPECT_EQ(network->text(), text);
    }
    for (const char* wrong : {"", "10", "10.0.0.0/", "10.0.0.0/33", "::/129", "10.0.0.0/-1",
                              "10.0.0.0/8x", "fe80::1%1", "localhost"}) {
        EXPECT_FALSE(Network::parse(wrong)) << wrong;
    }
}

TEST(TrustedProxies, TellTheClientAndItsSchemeAndNobodyElseDoes) {
    const std::string forUs = "X-Forwarded-For: 203.0.113.9\r\n";
    const std::string https = "X-Forwarded-Proto: https\r\n";
    const std::string cases[][3] = {
        {"198.51.100.1", forUs + https, "198.51.100.1:1 off:8008"},
        {"10.0.0.1", "", "10.0.0.1:1 off:8008"},
        {"10.0.0.1", forUs + https, "203.0.113.9:0 on:443"},
        {"::ffff:10.0.0.1", forUs, "203.0.113.9:0 off:8008"},
        {"10.0.0.1", https + "Host: dav.test:8443\r\n", "10.0.0.1:1 on:8443"},
        {"10.0.0.1", "X-Forwarded-Proto: http\r\n", "10.0.0.1:1 off:80"},
        {"10.0.0.1", "X-Forwarded-Proto: https, http\r\n", "10.0.0.1:1 off:80"},
        {"10.0.0.1", "X-Forwarded-Proto: gopher\r\n", "10.0.0.1:1 off:8008"},
        // What the client wrote itself stands to the left.
        {"10.0.0.1", "X-Forwarded-For: 1.1.1.1, 203.0.113.9\r\n", "203.0.113.9:0 off:8008"},
        {"10.0.0.1", "X-Forwarded-For: 1.1.1.1\r\n" + forUs, "203.0.113.9:0 off:8008"},
        {"10.0.0.1", "X-Forwarded-For: 203.0.113.9, 10.0.0.2, 10.0.0.3\r\n",
         "203.0.113.9:0 off:8008"},
        {"10.0.0.1", "X-Forwarded-For: 10.0.0.3,10.0.0.2\r\n", "10.0.0.3:0 off:8008"},
        {"10.0.0.1", "X-Forwarded-For: 203.0.113.9, unknown\r\n", "10.0.0.1:1 off:8008"},
        {"10.0.0.1", "X-Forwarded-For: 203.0.113.9, unknown, 10.0.0.2\r\n", "10.0.0.2:0 off:8008"},
        {"10.0.0.1", "X-Forwarded-For: ,,\r\n", "10.0.0.1:1 off:8008"},
        {"10.0.0.1", "X-Forwarded-For: 203.0.113.9:50123\r\n", "203.0.113.9:50123 off:8008"},
        {"10.0.0.1", "X-Forwarded-For: [2001:db8::7]:99\r\n", "2001:db8::7:99 off:8008"},
        {"10.0.0.1", "X-Forwarded-For: 2001:db8:0::7\r\n", "2001:db8::7:0 off:8008"},
        {"10.0.0.1", "Forwarded: for=203.0.113.9;proto=https\r\n", "10.0.0.1:1 off:8008"},
    };
    const TrustedProxies proxies({Network::parse("10.0.0.0/8").value()});
    for (const auto& [peer, headers, connection] : cases) {
        Request request;
        ASSERT_EQ(request.head.parse("GET / HTTP/1.0\r\n" + headers + "\r\n"), 0U);
        request.connection = {peer, 1, "10.0.0.9", 8008, false};
        proxies.apply(request);
        const ConnectionInfo& seen = request.connection;
        EXPECT_EQ(seen.remoteAddress + ":" + std::to_string(seen.remotePort) +
                      (seen.secure ? " on:" : " off:") + std::to_string(seen.localPort),
                  connection)
            << headers;
    }
}

}  // namespace
}  // namespace host
