#include <gtest/gtest.h>

#include "host/ServerVariables.h"

namespace host {
namespace {

struct Case {
    std::string name;
    std::optional<std::string> value;
};

void fill(Request& request, const std::string& head, const std::string& target) {
    request.connection = {"192.0.2.7", 50123, "192.0.2.1", 8443, true};
    ASSERT_EQ(request.head.parse(head), 0U);
    request.target = parseRequestTarget(target).value();
}

TEST(ServerVariables, AreFoundByEverySpelling) {
    Request request;
    fill(request,
         "PROPFIND /webdav/a%20b?x=%31 HTTP/1.1\r\nHost: example.test:8443\r\n"
         "User-Agent: one\r\nuser-agent: two\r\nContent-Length: 4\r\nContent-Type: text/xml\r\n"
         "Under_Score: hidden\r\n\r\n",
         "/webdav/a%20b?x=%31");
    const Case cases[] = {
        {"ALL_HTTP",
         "HTTP_HOST:example.test:8443\nHTTP_USER_AGENT:one\nHTTP_USER_AGENT:two\n"
         "HTTP_CONTENT_LENGTH:4\nHTTP_CONTENT_TYPE:text/xml\nHTTP_UNDER_SCORE:hidden\n"},
        {"ALL_RAW", std::string(request.head.lines()) + "\r\n"},
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
        {"HTTP_USER_AGENT", "one, two"},
        {"http-user-agent", "one, two"},
        {"HTTP_AUTHORIZATION", std::nullopt},
        // A header with an underscore must not pass for the one with a hyphen.
        {"HTTP_UNDER_SCORE", std::nullopt},
        {"HTTP_", std::nullopt},
        {"", std::nullopt},
        {"AUTH_PASSWORD", std::nullopt},
    };
    for (const Case& expected : cases) {
        EXPECT_EQ(serverVariable(request, expected.name), expected.value) << expected.name;
    }
}

TEST(ServerVariables, OfABareRequest) {
    Request request;
    fill(request, "GET / HTTP/1.0\r\n\r\n", "/");
    request.connection.secure = false;
    const Case cases[] = {{"SERVER_NAME", "192.0.2.1"},
                          {"HTTPS", "off"},
                          {"SERVER_PORT_SECURE", "0"},
                          {"SERVER_PROTOCOL", "HTTP/1.0"},
                          {"ALL_RAW", "\r\n"},
                          {"QUERY_STRING", ""},
                          {"CONTENT_LENGTH", std::nullopt},
                          {"CONTENT_TYPE", std::nullopt}};
    for (const Case& expected : cases) {
        EXPECT_EQ(serverVariable(request, expected.name), expected.value) << expected.name;
    }
}

TEST(ServerVariables, TheTargetsAuthorityGoesBeforeTheHostHeader) {
    Request request;
    fill(request, "GET http://[::1]:80/ HTTP/1.1\r\nHost: other.test\r\n\r\n", "http://[::1]:80/");
    EXPECT_EQ(serverVariable(request, "SERVER_NAME"), "[::1]");
    EXPECT_EQ(serverVariable(request, "URL"), "/");
}

}  // namespace
}  // namespace host
