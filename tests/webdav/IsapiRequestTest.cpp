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

TEST(IsapiData, TakesABodyThatIsThere) {
    for (const DWORD total : {DWORD{5}, DWORD{0xFFFFFFFF}}) {
        FakeServer server;
        server.setBody("hello", 5);
        server.block()->cbTotalBytes = total;
        const ISAPIData data(server.block());
        EXPECT_EQ(data.GetBody(), "hello");
        EXPECT_FALSE(data.BodyFailed());
        EXPECT_TRUE(server.reads.empty());
    }
}

TEST(IsapiData, ReadsTheRestInPieces) {
    const std::string body(0x10000 + 100, 'x');
    FakeServer server;
    server.setBody("12345" + body, 5);
    const ISAPIData data(server.block());
    EXPECT_EQ(data.GetBody(), "12345" + body);
    EXPECT_EQ(server.reads, (std::vector<size_t>{0x10000, 100}));
}

TEST(IsapiData, TellsThatABodyDidNotArrive) {
    const TestInstallation product;
    LoggedLines log(product);
    FakeServer closed;
    closed.closedAfter = 7;
    closed.setBody("0123456789", 5);
    EXPECT_TRUE(ISAPIData(closed.block()).BodyFailed());
    EXPECT_EQ(log.take(), (std::vector<std::string>{"DEBUG, ReadClient returned 0 bytes"}));

    FakeServer failing;
    failing.failsToRead = true;
    failing.setBody("0123456789", 5);
    EXPECT_TRUE(ISAPIData(failing.block()).BodyFailed());
    EXPECT_EQ(log.take(), (std::vector<std::string>{"ERROR, Error 995 occurred in ReadClient "}));

    FakeServer pointless;
    pointless.setBody("0123456789", 5);
    pointless.block()->lpbData = nullptr;
    EXPECT_TRUE(ISAPIData(pointless.block()).BodyFailed());
}

// More in the control block than the request is said to have.
TEST(IsapiData, KeepsToTheAnnouncedLength) {
    FakeServer server;
    server.setBody("0123456789", 10);
    server.block()->cbTotalBytes = 4;
    EXPECT_EQ(ISAPIData(server.block()).GetBody(), "0123");
}

TEST(IsapiData, AsksForAVariableOnce) {
    FakeServer server;
    server.variables = {{"URL", "/webdav/"}, {"LONG", std::string(1024, 'x')}};
    ISAPIData data(server.block());
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(data.GetServerVar("URL"), "/webdav/");
        EXPECT_EQ(data.GetServerVar("LONG"), "");
        EXPECT_EQ(data.GetServerVar("QUERY_STRING"), "token=a%2Bb");
        EXPECT_EQ(data.GetServerVar("CONTENT_TYPE"), "text/xml");
        EXPECT_EQ(data.GetParam("Token"), "a+b");
    }
    EXPECT_EQ(server.asked, (std::map<std::string, int>{{"URL", 1}, {"LONG", 2}}));
}

TEST(IsapiData, KnowsSecureConnections) {
    for (const char* value : {"yes", "YES", "On", "on"}) {
        FakeServer server;
        server.variables["HTTPS"] = value;
        EXPECT_TRUE(ISAPIData(server.block()).IsHttps()) << value;
    }
    for (const char* value : {"1", "off", "true", "", "o", "on, for sixteen bytes"}) {
        FakeServer server;
        server.variables["HTTPS"] = value;
        EXPECT_FALSE(ISAPIData(server.block()).IsHttps()) << value;
    }
}

// What is kept nowhere is asked for anew.
TEST(IsapiData, KeepsNoSecret) {
    FakeServer server;
    server.variables["HTTP_AUTHORIZATION"] = "Basic eA==";
    ISAPIData data(server.block());
    EXPECT_EQ(data.GetSecretVar("HTTP_AUTHORIZATION").view(), "Basic eA==");
    server.variables.clear();
    EXPECT_EQ(data.GetServerVar("HTTP_AUTHORIZATION"), "");
    EXPECT_TRUE(data.GetSecretVar("HTTP_AUTHORIZATION").empty());
}

TEST(IsapiData, IsEmptyWithoutAWebServer) {
    ISAPIData data(nullptr);
    EXPECT_EQ(data.GetServerVar("URL"), "");
    EXPECT_EQ(data.GetBody(), "");
    EXPECT_FALSE(data.IsHttps());
    EXPECT_FALSE(data.BodyFailed());
}

TEST(IsapiRequest, WritesTheHeaderBytes) {
    struct Case {
        uint32_t status;
        const char* contentType;
        std::string body;
        std::string statusText;
        std::string headers;
    };
    const Case cases[] = {
        {200, "text/html", "hello", "200 OK",
         "Content-Length: 5\r\nContent-Type: text/html\r\nConnection: close\r\n\r\n"},
        {204, nullptr, "", "204 No Content", "Content-Length: 0\r\nConnection: close\r\n\r\n"},
        {302, "text/html", "", "302 Moved Temporarily",
         "Content-Length: 0\r\nContent-Type: text/html\r\nConnection: close\r\n\r\n"},
        {201, nullptr, "x", "201 UNKNOWN",
         "Content-Length: 1\r\nContent-Type: \r\nConnection: close\r\n\r\n"},
    };
    for (const Case& expected : cases) {
        FakeServer server;
        ISAPIRequest request(server.block());
        request.AddHeader("ETag: 1");
        request.AddHeader("");
        request.AddHeader(nullptr);
        EXPECT_TRUE(request.SendText(expected.status, expected.contentType, expected.body));
        EXPECT_EQ(server.status, expected.statusText);
        EXPECT_EQ(server.headers, "ETag: 1\r\n" + expected.headers);
        EXPECT_EQ(server.written, expected.body);
    }
}

TEST(IsapiRequest, TellsThatAnAnswerWasNotTaken) {
    FakeServer deaf;
    deaf.acceptsHeaders = false;
    EXPECT_FALSE(ISAPIRequest(deaf.block()).SendXml(207, "<a/>"));
    EXPECT_EQ(deaf.written, "");

    FakeServer closing;
    closing.acceptsBody = false;
    EXPECT_FALSE(ISAPIRequest(closing.block()).SendXml(207, "<a/>"));
    EXPECT_NE(closing.headers.find("Content-Type: application/xml; charset=utf-8\r\n"),
              std::string::npos);
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
