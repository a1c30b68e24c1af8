#include <algorithm>
#include <cstring>
#include <map>
#include <vector>

#include <gtest/gtest.h>

#include "platform/Error.h"
#include "tests/webdav/LoggedLines.h"
#include "webdav/frame/WebDAVRequest.h"

using webdav::ISAPIData;
using webdav::ISAPIRequest;

namespace {

/// A web server with one request; the body beyond what is in the control block comes in pieces.
class FakeServer {
  public:
    FakeServer() {
        block_.cbSize = sizeof block_;
        block_.ConnID = this;
        block_.lpszQueryString = query_.data();
        block_.lpszContentType = contentType_.data();
        block_.GetServerVariable = [](HCONN server, LPSTR name, LPVOID buffer, LPDWORD size) {
            return of(server).variable(name, static_cast<char*>(buffer), *size);
        };
        block_.ReadClient = [](HCONN server, LPVOID buffer, LPDWORD size) {
            return of(server).read(static_cast<char*>(buffer), *size);
        };
        block_.WriteClient = [](HCONN server, LPVOID bytes, LPDWORD size, DWORD) {
            of(server).written.append(static_cast<const char*>(bytes), *size);
            return of(server).acceptsBody ? TRUE : FALSE;
        };
        block_.ServerSupportFunction = [](HCONN server, DWORD request, LPVOID data, LPDWORD,
                                          LPDWORD) {
            return of(server).sendHeaders(request, data);
        };
    }

    EXTENSION_CONTROL_BLOCK* block() { return &block_; }
    /// The first bytes stand in the control block, the rest is read.
    void setBody(const std::string& body, size_t available) {
        body_ = body;
        sent_ = available;
        block_.lpbData = reinterpret_cast<LPBYTE>(body_.data());
        block_.cbAvailable = static_cast<DWORD>(available);
        block_.cbTotalBytes = static_cast<DWORD>(body.size());
    }

    std::map<std::string, std::string> variables;
    std::map<std::string, int> asked;
    std::vector<size_t> reads;
    size_t closedAfter = SIZE_MAX;
    bool failsToRead = false;
    bool acceptsHeaders = true;
    bool acceptsBody = true;
    std::string status;
    std::string headers;
    std::string written;

  private:
    static FakeServer& of(HCONN server) { return *static_cast<FakeServer*>(server); }

    BOOL variable(const char* name, char* buffer, DWORD& size) {
        ++asked[name];
        const auto found = variables.find(name);
        if (found == variables.end() || found->second.size() >= size) return FALSE;
        std::strcpy(buffer, found->second.c_str());
        size = static_cast<DWORD>(found->second.size() + 1);
        return TRUE;
    }
    BOOL read(char* buffer, DWORD& size) {
        if (failsToRead) {
            platform::setLastError(995);
            return FALSE;
        }
        reads.push_back(size);
        const size_t there = std::min(body_.size(), closedAfter) - sent_;
        size = static_cast<DWORD>(std::min<size_t>(size, there));
        std::memcpy(buffer, body_.data() + sent_, size);
        sent_ += size;
        return TRUE;
    }
    BOOL sendHeaders(DWORD request, LPVOID data) {
        const auto& info = *static_cast<HSE_SEND_HEADER_EX_INFO*>(data);
        EXPECT_EQ(request, static_cast<DWORD>(HSE_REQ_SEND_RESPONSE_HEADER_EX));
        EXPECT_FALSE(info.fKeepConn);
        status.assign(info.pszStatus, info.cchStatus);
        headers.assign(info.pszHeader, info.cchHeader);
        return acceptsHeaders ? TRUE : FALSE;
    }

    EXTENSION_CONTROL_BLOCK block_{};
    std::string query_ = "token=a%2Bb";
    std::string contentType_ = "text/xml";
    std::string body_;
    size_t sent_ = 0;
};

TEST(IsapiData, TakesTheBodyThatIsAnnounced) {
    const std::string large(0x10000 + 100, 'x');
    const auto wholeOf = [](const std::string& body) { return static_cast<DWORD>(body.size()); };
    const std::tuple<std::string, size_t, DWORD, std::string, std::vector<size_t>> cases[] = {
        {"hello", 5, 5, "hello", {}},
        {"hello", 5, 0xFFFFFFFF, "hello", {}},  // of unknown length
        {"0123456789", 10, 4, "0123", {}},      // more than the request is said to have
        {"12345" + large, 5, wholeOf("12345" + large), "12345" + large, {0x10000, 100}},
    };
    for (const auto& [body, available, announced, taken, reads] : cases) {
        FakeServer server;
        server.setBody(body, available);
        server.block()->cbTotalBytes = announced;
        const ISAPIData data(server.block());
        EXPECT_EQ(data.GetBody(), taken);
        EXPECT_FALSE(data.BodyFailed());
        EXPECT_EQ(server.reads, reads);
    }
}

TEST(IsapiData, TellsThatABodyDidNotArrive) {
    const TestInstallation product;
    LoggedLines log(product);
    const auto failsWith = [&log](auto change) {
        FakeServer server;
        server.setBody("0123456789", 5);
        change(server);
        EXPECT_TRUE(ISAPIData(server.block()).BodyFailed());
        const auto lines = log.take();
        return lines.empty() ? std::string() : lines[0];
    };
    EXPECT_EQ(failsWith([](FakeServer& server) { server.closedAfter = 7; }),
              "DEBUG, ReadClient returned 0 bytes");
    EXPECT_EQ(failsWith([](FakeServer& server) { server.failsToRead = true; }),
              "ERROR, Error 995 occurred in ReadClient ");
    EXPECT_EQ(failsWith([](FakeServer& server) { server.block()->lpbData = nullptr; }), "");
}

TEST(IsapiData, AsksForAVariableOnceAndKeepsNoSecret) {
    FakeServer server;
    server.variables = {{"URL", "/webdav/"},
                        {"LONG", std::string(1024, 'x')},
                        {"HTTP_AUTHORIZATION", "Basic eA=="}};
    ISAPIData data(server.block());
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(data.GetServerVar("URL"), "/webdav/");
        EXPECT_EQ(data.GetServerVar("LONG"), "");
        EXPECT_EQ(data.GetServerVar("QUERY_STRING"), "token=a%2Bb");
        EXPECT_EQ(data.GetServerVar("CONTENT_TYPE"), "text/xml");
        EXPECT_EQ(data.GetParam("Token"), "a+b");
    }
    EXPECT_EQ(server.asked, (std::map<std::string, int>{{"URL", 1}, {"LONG", 2}}));
    EXPECT_EQ(data.GetSecretVar("HTTP_AUTHORIZATION").view(), "Basic eA==");
    server.variables.clear();
    EXPECT_EQ(data.GetServerVar("HTTP_AUTHORIZATION"), "");
    EXPECT_TRUE(data.GetSecretVar("HTTP_AUTHORIZATION").empty());

    ISAPIData none(nullptr);
    EXPECT_EQ(none.GetServerVar("URL"), "");
    EXPECT_EQ(none.GetBody(), "");
    EXPECT_FALSE(none.IsHttps());
    EXPECT_FALSE(none.BodyFailed());
}

TEST(IsapiData, KnowsSecureConnections) {
    const auto isHttps = [](const char* value) {
        FakeServer server;
        server.variables["HTTPS"] = value;
        return ISAPIData(server.block()).IsHttps();
    };
    for (const char* on : {"yes", "YES", "On", "on"}) EXPECT_TRUE(isHttps(on)) << on;
    for (const char* off : {"1", "off", "true", "", "o", "on, for sixteen bytes"}) {
        EXPECT_FALSE(isHttps(off)) << off;
    }
}

TEST(IsapiRequest, WritesTheHeaderBytes) {
    const std::tuple<uint32_t, const char*, std::string, std::string, std::string> cases[] = {
        {200, "text/html", "hello", "200 OK", "Content-Length: 5\r\nContent-Type: text/html\r\n"},
        {204, nullptr, "", "204 No Content", "Content-Length: 0\r\n"},
        {302, "text/html", "", "302 Moved Temporarily",
         "Content-Length: 0\r\nContent-Type: text/html\r\n"},
        {201, nullptr, "x", "201 UNKNOWN", "Content-Length: 1\r\nContent-Type: \r\n"},
    };
    for (const auto& [status, contentType, body, statusText, headers] : cases) {
        FakeServer server;
        ISAPIRequest request(server.block());
        request.AddHeader("ETag: 1");
        request.AddHeader("");
        request.AddHeader(nullptr);
        EXPECT_TRUE(request.SendText(status, contentType, body));
        EXPECT_EQ(server.status, statusText);
        EXPECT_EQ(server.headers, "ETag: 1\r\n" + headers + "Connection: close\r\n\r\n");
        EXPECT_EQ(server.written, body);
        server.acceptsBody = body.empty();
        EXPECT_EQ(request.SendText(200, nullptr, body), server.acceptsBody);
        server.acceptsHeaders = false;
        server.written.clear();
        EXPECT_FALSE(request.SendXml(207, "<a/>"));
        EXPECT_EQ(server.written, "") << "an answer that was not taken";
    }
}

TEST(WebDavRequest, IsTracedWithAnAnswerThatComesBeforeItsTurn) {
    const TestInstallation product;
    const LoggedLines log(product);
    product.setWebstrand("LogMessages", "Yes");
    FakeServer server;
    server.setBody("<body/>", 7);
    server.block()->lpszMethod = const_cast<LPSTR>("REPORT");
    server.variables = {{"URL", "/webdav/"},         {"SERVER_NAME", "x"},
                        {"SERVER_PORT", "8080"},     {"SERVER_PROTOCOL", "HTTP/1.1"},
                        {"ALL_RAW", "A: b\r\n\r\n"}, {"REMOTE_ADDR", "192.0.2.7"}};
    webdav::WebDAVRequest(server.block()).Process();
    const std::string directory = webdav::TraceDirectory();
    const auto names = platform::listDirectory(directory);
    ASSERT_EQ(names.size(), 1U);
    EXPECT_EQ(TestInstallation::file(directory + "\\" + names[0]),
              "REPORT http://x:8080/webdav/?token=a%2Bb HTTP/1.1\r\nA: b\r\n\r\n<body/>\r\n\r\n" +
                  std::string(68, '-') + "\r\n\r\nHTTP/1.1 " + server.status + "\r\n" +
                  server.headers + server.written);
    EXPECT_TRUE(server.status.starts_with("500 "));
}

}  // namespace
