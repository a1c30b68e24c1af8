#include <tuple>

#include <gtest/gtest.h>

#include "host/RequestTarget.h"
#include "host/Routes.h"

namespace host {
namespace {

TEST(RequestTarget, IsTakenApartAndDecodedOnce) {
    const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
        {"/webdav/a%20b+c/%C3%A9.ics?x=%20&y=+", "/webdav/a b+c/\xC3\xA9.ics", "x=%20&y=+", ""},
        {"/a%2520b%2Fc?", "/a%20b%2Fc", "", ""},
        {"/a?b?c", "/a", "b?c", ""},
        {"//x/../y", "//x/../y", "", ""},
        {"/raw\xC3\xA9#'\"<>", "/raw\xC3\xA9#'\"<>", "", ""},
        {"http://example.test:8008/webdav/?q", "/webdav/", "q", "example.test:8008"},
        {"HTTPS://[::1]?q=/", "/", "q=/", "[::1]"},
        {"http://example.test", "/", "", "example.test"},
    };
    for (const auto& [text, path, query, authority] : cases) {
        const auto target = parseRequestTarget(text);
        ASSERT_TRUE(target) << text;
        EXPECT_EQ(target->path, path) << text;
        EXPECT_EQ(target->query, query) << text;
        EXPECT_EQ(target->authority, authority) << text;
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
    for (const char* host : {"example.test", "[2001:db8::1]"}) {
        for (const char* port : {"", ":", ":8008"}) {
            const std::string text = std::string(host) + port;
            EXPECT_TRUE(isAuthority(text)) << text;
            EXPECT_EQ(hostOfAuthority(text), host);
        }
    }
    for (const char* text :
         {"", ":80", "[::1", "[::1]x", "::1", "a:b", "a:123456", "a/b", "a@b", "[a/b]"}) {
        EXPECT_FALSE(isAuthority(text)) << text;
    }
}

TEST(Routes, EveryMethodIsLedToTheService) {
    using Kind = Route::Kind;
    const std::tuple<const char*, const char*, Kind, const char*> cases[] = {
        {"GET", "/webdav", Kind::kExtension, ""},
        {"MKCALENDAR", "/webdav/x/", Kind::kExtension, ""},
        {"GET", "/webdavx", Kind::kNotFound, ""},
        {"GET", "/", Kind::kRedirect, "/webdav/"},
        {"HEAD", "/", Kind::kRedirect, "/webdav/"},
        {"PROPFIND", "/", Kind::kRedirect, "/webdav/principals/"},
        {"OPTIONS", "/", Kind::kRedirect, "/webdav/principals/"},
        {"GET", "/.well-known/caldav", Kind::kRedirect, "/webdav/principals/"},
        {"PUT", "/.well-known/carddav/", Kind::kRedirect, "/webdav/principals/"},
        {"GET", "/.well-known/caldavx", Kind::kNotFound, ""},
    };
    for (const auto& [method, path, kind, location] : cases) {
        const Route route = routeOf(method, path);
        EXPECT_EQ(route.kind, kind) << method << path;
        EXPECT_EQ(route.location, location) << method << path;
    }
}

}  // namespace
}  // namespace host
