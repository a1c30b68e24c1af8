#include <gtest/gtest.h>

#include "tests/host/TestClient.h"

namespace host {
namespace {

std::string get(uint16_t port, const std::string& target, const std::string& authority) {
    return host::exchange(port, "GET " + target + " HTTP/1.1\r\nHost: " + authority + "\r\n\r\n");
}

size_t countOf(const std::string& text, std::string_view part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

TEST(SetupPage, NamesTheServerAsTheClientReachedItAndPutsInNothingUnescaped) {
    RunningServer server(plainSettings());
    const std::string local = "127.0.0.1:" + std::to_string(server.port());
    const std::string profile = "/setup/profile.mobileconfig";
    const std::string cases[][3] = {
        {"/setup", "dav.example.test", "<code>http://dav.example.test/</code>"},
        {"/setup/", "dav.example.test:80", "<code>http://dav.example.test/</code>"},
        {"/setup", "dav.example.test:8008", "<code>http://dav.example.test:8008/</code>"},
        {"/setup", "[::1]:8008", "<code>http://[::1]:8008/</code>"},
        {"http://other.test/setup", "dav.example.test", "<code>http://other.test/</code>"},
        {"/setup", "", "<code>http://" + local + "/</code>"},
        {"/setup", "a&b'c", "<code>http://a&amp;b&#39;c/</code>"},
        {"/setup", "a", "<p class=\"warning\">"},
        {"/setup/style.css", "a", "color-scheme: light dark;"},
        {profile, "dav.example.test", "<key>CalDAVHostName</key> <string>dav.example.test<"},
        {profile, "[::1]:8008", "<key>CardDAVHostName</key> <string>::1<"},
        {profile, "x", "<key>CalDAVPort</key> <integer>80</integer>"},
        {profile, "x:8008", "<key>CardDAVPort</key> <integer>8008</integer>"},
        {profile, "x", "<key>CalDAVUseSSL</key> <false/>"},
        {profile + "?user=anna%2Bx%40example.test", "x", "Username</key> <string>anna+x@example.t"},
        {profile + "?x=1&user=%3C%22%26%27%3E@x", "x",
         "<string>&lt;&quot;&amp;&#39;&gt;@x</string>"},
    };
    for (const auto& [target, reached, expected] : cases) {
        const std::string answer = get(server.port(), target, reached);
        EXPECT_TRUE(answer.starts_with("HTTP/1.1 200 OK\r\n")) << target;
        EXPECT_NE(answer.find(expected), std::string::npos) << expected << "\n" << answer;
        EXPECT_EQ(answer.find("{{"), std::string::npos);
    }
    const std::string anonymous = get(server.port(), profile + "?user=", "x");
    EXPECT_EQ(countOf(anonymous, "Username"), 0U);
    const std::string named = get(server.port(), profile + "?user=a@x", "x");
    EXPECT_EQ(named, get(server.port(), profile + "?user=a@x", "x"));
    EXPECT_EQ(countOf(named, "Username"), 2U);
    // Computed by another program from the address of the profile.
    EXPECT_EQ(countOf(named, "<string>D87CDBAF-34C3-5CB1-91D9-0051F6AD51AC</string>"), 1U);
    const std::string identifier = "<key>PayloadUUID</key> <string>";
    const size_t at = named.find(identifier) + identifier.size();
    EXPECT_EQ(anonymous.find(named.substr(at, 36)), std::string::npos);
    EXPECT_EQ(countOf(named, named.substr(at, 36)), 2U);
    EXPECT_TRUE(server.stop());
}

TEST(SetupPage, HeadersAndRefusals) {
    RunningServer server(plainSettings());
    const std::string page = get(server.port(), "/setup", "x");
    for (const std::string header :
         {"Content-Type: text/html; charset=utf-8", "X-Content-Type-Options: nosniff",
          "Cache-Control: no-store", "Content-Security-Policy: default-src 'none'; "}) {
        EXPECT_NE(page.find("\r\n" + header), std::string::npos) << header;
    }
    const std::string profile = "/setup/profile.mobileconfig";
    EXPECT_NE(get(server.port(), profile, "x").find("\r\nContent-Type: application/x-apple-aspen"),
              std::string::npos);
    const std::string head =
        host::exchange(server.port(), "HEAD /setup HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(head, page.substr(0, page.find("\r\n\r\n") + 4));

    const std::pair<std::string, const char*> cases[] = {
        {"GET " + profile + "?user=a%0Ab", "400"},
        {"GET " + profile + "?user=a+b", "400"},
        {"GET " + profile + "?user=%C3%A4", "400"},
        {"GET " + profile + "?user=%zz", "400"},
        {"GET " + profile + "?user=" + std::string(255, 'a'), "400"},
        {"GET /setup/none", "404"},
        {"GET /setups", "404"},
        {"POST /setup", "405"},
    };
    for (const auto& [request, status] : cases) {
        const std::string answer =
            host::exchange(server.port(), request + " HTTP/1.1\r\nHost: x\r\n\r\n");
        EXPECT_EQ(answer.substr(9, 3), status) << request;
    }
    EXPECT_TRUE(server.stop());
}

}  // namespace
}  // namespace host
