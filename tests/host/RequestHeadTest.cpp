#include <gtest/gtest.h>

#include "host/RequestHead.h"

namespace host {
namespace {

TEST(RequestHead, IsTakenApart) {
    RequestHead head;
    ASSERT_EQ(head.parse("PUT /a?b HTTP/1.1\r\nhost: x\r\nX-A: 1\r\nContent-Length:  5 \r\n"
                         "x-a:\t2\t\r\nEmpty:\r\nExpect: 100-Continue\r\n\r\n"),
              0U);
    EXPECT_EQ(head.method(), "PUT");
    EXPECT_EQ(head.target(), "/a?b");
    EXPECT_EQ(head.version(), "HTTP/1.1");
    EXPECT_EQ(head.lines(),
              "host: x\r\nX-A: 1\r\nContent-Length:  5 \r\nx-a:\t2\t\r\nEmpty:\r\n"
              "Expect: 100-Continue\r\n");
    EXPECT_EQ(head.value("X-a"), "1, 2");
    EXPECT_EQ(head.value("empty"), "");
    EXPECT_FALSE(head.value("missing"));
    EXPECT_EQ(head.contentLength(), 5U);
    EXPECT_TRUE(head.expectsContinue());
    EXPECT_FALSE(head.chunked());
}

TEST(RequestHead, RefusesWhatTwoServersCouldReadDifferently) {
    struct Case {
        std::string text;
        unsigned refusal;
    };
    const std::string line = "PUT / HTTP/1.1\r\nHost: x\r\n";
    const Case cases[] = {
        {"GET / HTTP/1.0\r\n\r\n", 0},
        {"GET / HTTP/1.1\r\n\r\n", 400},
        {"GET / HTTP/1.1\r\nHost:\r\n\r\n", 0},
        {line + "Host: x\r\n\r\n", 400},
        {"GET / HTTP/1.1\r\nHost: a b\r\n\r\n", 400},
        {"GET / HTTP/1.1\r\nHost: x, y\r\n\r\n", 400},
        {"GET / HTTP/2.0\r\nHost: x\r\n\r\n", 505},
        {"GET / HTTP/1.2\r\nHost: x\r\n\r\n", 505},
        {"GET / http/1.1\r\nHost: x\r\n\r\n", 400},
        {"GET / HTTP/1.1 \r\nHost: x\r\n\r\n", 400},
        {"GET /a b HTTP/1.1\r\nHost: x\r\n\r\n", 400},
        {"GET  / HTTP/1.1\r\nHost: x\r\n\r\n", 400},
        {"GET /\r\nHost: x\r\n\r\n", 400},
        {"G(T / HTTP/1.1\r\nHost: x\r\n\r\n", 400},
        {line + "Content-Length : 5\r\n\r\n", 400},
        {line + ": 5\r\n\r\n", 400},
        {line + "no colon\r\n\r\n", 400},
        {line + "Content-Length: 5\r\nContent-Length: 5\r\n\r\n", 400},
        {line + "Content-Length: 5, 5\r\n\r\n", 400},
        {line + "Content-Length: +5\r\n\r\n", 400},
        {line + "Content-Length: -5\r\n\r\n", 400},
        {line + "Content-Length: 0x5\r\n\r\n", 400},
        {line + "Content-Length:\r\n\r\n", 400},
        {line + "Content-Length: 99999999999999999999\r\n\r\n", 413},
        {line + "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n", 400},
        {line + "Transfer-Encoding: Chunked\r\n\r\n", 0},
        {line + "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n\r\n", 400},
        {line + "Transfer-Encoding: gzip\r\n\r\n", 501},
        {line + "Transfer-Encoding: gzip, chunked\r\n\r\n", 501},
        {line + "Transfer-Encoding: chunked, identity\r\n\r\n", 501},
        {line + "Transfer-Encoding: xchunked\r\n\r\n", 501},
        {"PUT / HTTP/1.0\r\nTransfer-Encoding: chunked\r\n\r\n", 400},
        {line + "Expect: 200-ok\r\n\r\n", 417},
    };
    for (const Case& expected : cases) {
        RequestHead head;
        EXPECT_EQ(head.parse(expected.text), expected.refusal) << expected.text;
    }
}

TEST(HeadScanner, FindsTheEndHoweverItArrives) {
    const std::string head = "GET / HTTP/1.1\r\nHost: x\r\n\r\n";
    const std::string text = head + "body\r\n\r\n";
    HeadScanner atOnce{Limits()};
    EXPECT_EQ(atOnce.scan(text).length, head.size());
    HeadScanner byByte{Limits()};
    for (size_t length = 1; length < head.size(); ++length) {
        const auto result = byByte.scan(std::string_view(text).substr(0, length));
        ASSERT_EQ(result.length, 0U) << length;
        ASSERT_EQ(result.refusal, 0U) << length;
    }
    EXPECT_EQ(byByte.scan(head).length, head.size());
}

TEST(HeadScanner, KeepsItsBounds) {
    struct Case {
        std::string text;
        unsigned refusal;
    };
    const std::string line = "GET / HTTP/1.1\r\n";
    std::string fields;
    for (size_t i = 0; i <= Limits().maxFields; ++i) fields += "a: b\r\n";
    const Case cases[] = {
        {line + "A: b\r\n folded\r\n", 400},
        {line + "A: b\r\n\tfolded\r\n", 400},
        {line + "A: b\n", 400},
        {"GET / HTTP/1.1\n", 400},
        {"\r\n", 400},
        {"\x16\x03\x01", 400},
        {"GET /" + std::string(Limits().maxRequestLine, 'a'), 414},
        {"GET /" + std::string(Limits().maxRequestLine, 'a') + " HTTP/1.1\r\n\r\n", 414},
        {line + "A: " + std::string(Limits().maxHead, 'a'), 431},
        {line + "A: " + std::string(Limits().maxHead, 'a') + "\r\n\r\n", 431},
        {line + fields, 431},
    };
    for (const Case& expected : cases) {
        EXPECT_EQ(HeadScanner(Limits()).scan(expected.text).refusal, expected.refusal)
            << expected.text.substr(0, 60);
    }
}

}  // namespace
}  // namespace host
