#include <gtest/gtest.h>

#include "host/RequestTarget.h"
#include "host/Routes.h"

namespace host {
namespace {

TEST(RequestTarget, IsTakenApartAndDecodedOnce) {
    struct Case {
        std::string text;
        std::string path;
        std::string query;
        std::string authority;
    };
    const Case cases[] = {
        {"/webdav/a%20b+c/%C3%A9.ics?x=%20&y=+", "/webdav/a b+c/\xC3\xA9.ics", "x=%20&y=+", ""},
        {"/a%2520b%2Fc?", "/a%20b%2Fc", "", ""},
        {"/a?b?c", "/a", "b?c", ""},
        {"//x/../y", "//x/../y", "", ""},
        {"/raw\xC3\xA9#'\"<>", "/raw\xC3\xA9#'\"<>", "", ""},
        {"http://example.test:8008/webdav/?q", "/webdav/", "q", "example.test:8008"},
        {"HTTPS://[::1]?q=/", "/", "q=/", "[::1]"},
        {"http://example.test", "/", "", "example.test"},
    };
    for (const Case& expected : cases) {
        const auto target = parseRequestTarget(expected.text);
        ASSERT_TRUE(target) << expected.text;
        EXPECT_EQ(target->path, expected.path) << expected.text;
        EXPECT_EQ(target->query, expected.query) << expected.text;
        EXPECT_EQ(target->authority, expected.authority) << expected.text;
    }
}

TEST(RequestTarget, RefusesWhatCouldBeReadInTwoWays) {
    for (const char* text : {"", "*", "webdav", "example.test:443", "/%", "/%4", "/%4g", "/%g4",
                             "/%00", "/%0d%0a", "/%1F", "/%7f", "http://", "http:///a",
                             "http://user@host/", "http://a b/", "ftp://host/"}) {
        EXPECT_FALSE(parseRequestTarget(text)) << text;
    }
}

TEST(RequestTarget, AuthorityAndItsHost) {
    struct Case {
        std::string text;
        std::string host;  // empty: no authority
    };
    const Case cases[] = {{"example.test", "example.test"},
                          {"example.test:8008", "example.test"},
                          {"example.test:", "example.test"},
                          {"[2001:db8::1]:443", "[2001:db8::1]"},
                          {"", ""},
                          {":80", ""},
                          {"[::1", ""},
                          {"[::1]x", ""},
                          {"::1", ""},
                          {"a:b", ""},
                          {"a:123456", ""},
                          {"a/b", ""},
                          {"a@b", ""},
                          {"[a/b]", ""}};
    for (const Case& expected : cases) {
        EXPECT_EQ(isAuthority(expected.text), !expected.host.empty()) << expected.text;
        if (expected.host.empty()) continue;
        EXPECT_EQ(hostOfAuthority(expected.text), expected.host) << expected.text;
    }
}

TEST(Routes, EveryMethodIsLedToTheService) {
    struct Case {
        std::string method;
        std::string path;
        Route::Kind kind;
        std::string location;
    };
    using Kind = Route::Kind;
    const Case cases[] = {{"GET", "/webdav", Kind::kExtension, ""},
                          {"MKCALENDAR", "/webdav/x/", Kind::kExtension, ""},
                          {"GET", "/webdavx", Kind::kNotFound, ""},
                          {"GET", "/", Kind::kRedirect, "/webdav/"},
                          {"HEAD", "/", Kind::kRedirect, "/webdav/"},
                          {"PROPFIND", "/", Kind::kRedirect, "/webdav/principals/"},
                          {"OPTIONS", "/", Kind::kRedirect, "/webdav/principals/"},
                          {"GET", "/.well-known/caldav", Kind::kRedirect, "/webdav/principals/"},
                          {"PUT", "/.well-known/carddav/", Kind::kRedirect, "/webdav/principals/"},
                          {"GET", "/.well-known/caldavx", Kind::kNotFound, ""},
                          {"GET", "/favicon.ico", Kind::kNotFound, ""}};
    for (const Case& expected : cases) {
        const Route route = routeOf(expected.method, expected.path);
        EXPECT_EQ(route.kind, expected.kind) << expected.method << expected.path;
        EXPECT_EQ(route.location, expected.location) << expected.method << expected.path;
    }
}

}  // namespace
}  // namespace host
