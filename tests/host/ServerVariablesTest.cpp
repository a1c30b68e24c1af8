#include <gtest/gtest.h>

#include "host/ServerVariables.h"

namespace host {
namespace {

using Values = std::vector<std::pair<const char*, std::optional<std::string>>>;

void expectValues(const std::string& head, const std::string& target, bool secure,
                  const Values& expected) {
    Request request;
    request.connection = {"192.0.2.7", 50123, "192.0.2.1", 8443, secure};
    ASSERT_EQ(request.head.parse(head), 0U);
    request.target = parseRequestTarget(target).value();
    for (const auto& [name, value] : expected) {
        EXPECT_EQ(serverVariable(request, name), value) << name;
    }
}

TEST(ServerVariables, AreFoundByEverySpelling) {
    const std::string fields =
        "Host: example.test:8443\r\nUser-Agent: one\r\nuser-agent:\ttwo\t\r\n"
        "Content-Length:  4 \r\nContent-Type: text/xml\r\nUnder_Score: hidden\r\nEmpty:\r\n\r\n";
    expectValues("PROPFIND /webdav/a%20b?x=%31 HTTP/1.1\r\n" + fields, "/webdav/a%20b?x=%31", true,
                 {{"ALL_HTTP",
                   "HTTP_HOST:example.test:8443\nHTTP_USER_AGENT:one\nHTTP_USER_AGENT:two\n"
                   "HTTP_CONTENT_LENGTH:4\nHTTP_CONTENT_TYPE:text/xml\nHTTP_UNDER_SCORE:hidden\n"
                   "HTTP_EMPTY:\n"},
                  {"ALL_RAW", fields},
                  {"CONTENT_LENGTH", "4"},
                  {"CONTENT-LENGTH", "4"},
                  {"CONTENT_TYPE", "text/xml"},
                  {"HTTPS", "on"},
                  {"LOCAL_ADDR", "192.0.2.1"},
                  {"SERVER_ADDR", "192.0.2.1"},
                  {"PATH_INFO", "/webdav/a b"},
                  {"SCRIPT_NAME", "/webdav/a b"},
                  {"URL", "/webdav/a b"},
                  {"QUERY_STRING", "x=%31"},
                  {"REMOTE_ADDR", "192.0.2.7"},
                  {"REMOTE_HOST", "192.0.2.7"},
                  {"REMOTE_PORT", "50123"},
                  {"REQUEST_METHOD", "PROPFIND"},
                  {"SERVER_NAME", "example.test"},
                  {"SERVER_PORT", "8443"},
                  {"SERVER_PORT_SECURE", "1"},
                  {"SERVER_PROTOCOL", "HTTP/1.1"},
                  {"SERVER_SOFTWARE", "cvwebdavd/" CVWEBDAV_VERSION},
                  {"HTTP_USER-AGENT", "one, two"},
                  {"http-user_agent", "one, two"},
                  {"HTTP_EMPTY", ""},
                  {"HTTP_AUTHORIZATION", std::nullopt},
                  // A header with an underscore must not pass for the one with a hyphen.
                  {"HTTP_UNDER_SCORE", std::nullopt},
                  {"HTTP_", std::nullopt},
                  {"", std::nullopt},
                  {"AUTH_PASSWORD", std::nullopt}});
}

TEST(ServerVariables, OfABareRequest) {
    expectValues("GET / HTTP/1.0\r\n\r\n", "/", false,
                 {{"SERVER_NAME", "192.0.2.1"},
                  {"HTTPS", "off"},
                  {"SERVER_PORT_SECURE", "0"},
                  {"SERVER_PROTOCOL", "HTTP/1.0"},
                  {"ALL_RAW", "\r\n"},
                  {"QUERY_STRING", ""},
                  {"CONTENT_LENGTH", std::nullopt},
                  {"CONTENT_TYPE", std::nullopt}});
}

TEST(ServerVariables, TheTargetsAuthorityGoesBeforeTheHostHeader) {
    expectValues("GET http://[::1]:80/ HTTP/1.1\r\nHost: other.test\r\n\r\n", "http://[::1]:80/",
                 false, {{"SERVER_NAME", "[::1]"}, {"URL", "/"}});
}

}  // namespace
}  // namespace host
