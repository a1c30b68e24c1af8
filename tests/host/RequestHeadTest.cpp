// What the library behind the reading of heads refuses as well, so that no answer shows who did.
#include <gtest/gtest.h>

#include "host/RequestHead.h"

namespace host {
namespace {

TEST(RequestHead, RefusesByItselfWhatTwoServersCouldReadDifferently) {
    const std::string end = "\r\n\r\n";
    const auto refusal = [](const std::string& text) { return RequestHead().parse(text); };
    for (const char* line : {"GET / http/1.1", "GET / HTTP/1.1 ", "GET /a b HTTP/1.1",
                             "GET  / HTTP/1.1", "GET /", "G(T / HTTP/1.1"}) {
        EXPECT_EQ(refusal(line + ("\r\nHost: x" + end)), 400U) << line;
    }
    for (const char* fields :
         {"Host: x", "Content-Length : 5", ": 5", "no colon", "Content-Length: +5",
          "Content-Length: 5\r\nContent-Length: 5", "Content-Length: 5, 5",
          "Content-Length:", "Content-Length: 5\r\nTransfer-Encoding: chunked"}) {
        EXPECT_EQ(refusal("PUT / HTTP/1.1\r\nHost: x\r\n" + (fields + end)), 400U) << fields;
    }
    for (const char* folded : {" folded", "\tfolded"}) {
        const std::string text = std::string("GET / HTTP/1.1\r\nA: b\r\n") + folded + "\r\n";
        EXPECT_EQ(HeadScanner(Limits()).scan(text).refusal, 400U) << folded;
    }
}

}  // namespace
}  // namespace host
