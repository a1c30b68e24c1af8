#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <boost/asio/local/stream_protocol.hpp>
#include <gtest/gtest.h>

#include "tests/host/TestClient.h"
#include "tests/platform/TemporaryDirectory.h"

namespace host {
namespace {

using boost::asio::local::stream_protocol;

/// A line of the log without its time.
std::string timeless(std::string line) {
    const size_t open = std::min(line.find('['), line.size());
    return line.erase(open, line.find("] ", open) - open);
}

class AdminHost : public testing::Test {
  protected:
    AdminHost() {
        settings_.adminListen = "unix:" + socketFile();
        settings_.accessLog = logFile();
        settings_.dataDirectory = directory_.path();
    }

    std::string socketFile() const { return directory_.native() + "/run/admin.sock"; }
    std::string logFile() const { return directory_.native() + "/access.log"; }

    std::string ask(const std::string& page, const std::string& fields = {},
                    const std::string& method = "GET") const {
        stream_protocol::iostream stream(stream_protocol::endpoint{socketFile()});
        stream << method << " " << page << " HTTP/1.0\r\n" << fields << "\r\n" << std::flush;
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    std::string log() const {
        std::ifstream file(logFile());
        return {std::istreambuf_iterator<char>(file), {}};
    }

    TemporaryDirectory directory_;
    ServerSettings settings_ = plainSettings();
};

TEST_F(AdminHost, ShowsWhatWasAskedAndAnswered) {
    platform::createDirectories(directory_.path("Spool\\failed"));
    platform::replaceFile(directory_.path("Spool\\1-0-1-a.eml"), "a message");
    RunningServer server(settings_);
    const auto get = [&](const std::string& target, const std::string& method = "GET") {
        exchange(server.port(), method + " " + target + " HTTP/1.1\r\nHost: x\r\n\r\n");
    };
    get("/webdav/echo/a?token=secret");
    get("/webdav/echo/b", "ODD");
    get("/webdav/error");
    get("/nothing/at/all");
    get("/webdav/silent");
    exchange(server.port(), "PUT /webdav/echo HTTP/1.1\r\nHost: x\r\nContent-Length: 3\r\n\r\nabc");
    const std::string metrics = ask("/metrics");
    EXPECT_TRUE(metrics.starts_with("HTTP/1.1 200 OK\r\nContent-Type: text/plain; version=0.0.4"));
    for (const char* line : {
             "cvwebdavd_requests_total{method=\"GET\",status=\"299\"} 1\n",
             "cvwebdavd_requests_total{method=\"GET\",status=\"404\"} 1\n",
             "cvwebdavd_requests_total{method=\"GET\",status=\"500\"} 1\n",
             "cvwebdavd_requests_total{method=\"GET\",status=\"none\"} 1\n",
             "cvwebdavd_requests_total{method=\"other\",status=\"299\"} 1\n",
             "cvwebdavd_request_seconds_bucket{le=\"+Inf\"} 6\n",
             "cvwebdavd_request_seconds_count 6\n",
             "cvwebdavd_received_bytes_total 3\n",
             "cvwebdavd_held_bytes 0\n",
             "cvwebdavd_unsent_mails 1\n",
             "# TYPE cvwebdavd_connections gauge\n",
         }) {
        EXPECT_NE(metrics.find(line), std::string::npos) << line << metrics;
    }
    const std::string status = ask("/status?x");
    for (const char* part : {
             R"("requests":6,"succeeded":3,"refused":1,"failed":2,)",
             R"({"path":"/webdav/echo","requests":3,)",
             R"("method":"ODD","path":"/webdav/echo/b","status":299,)",
             R"("method":"GET","path":"/webdav/error","status":500,)",
         }) {
        EXPECT_NE(status.find(part), std::string::npos) << part << status;
    }
    EXPECT_EQ(status.find("secret"), std::string::npos);
    EXPECT_TRUE(ask("/other").starts_with("HTTP/1.1 404 "));
    EXPECT_TRUE(ask("/metrics HTTP/1.0\r\nbad").starts_with("HTTP/1.1 400 "));
    for (const auto& [host, answer] :
         {std::pair("evil.example", 421), std::pair("192.0.2.1", 421), std::pair("[::1]:9090", 200),
          std::pair("LocalHost:1", 200)}) {
        const std::string said = ask("/status", std::string("Host: ") + host + "\r\n");
        EXPECT_TRUE(said.starts_with("HTTP/1.1 " + std::to_string(answer))) << host << said;
    }
    EXPECT_TRUE(server.stop());
    EXPECT_FALSE(std::filesystem::exists(socketFile()));
}

TEST_F(AdminHost, TellsOfRequestsThatFoundNoRoomAndOfTheirWaitForAWorker) {
    settings_.accessLogFormat = AccessLog::Format::kJson;
    settings_.limits.maxConnections = 0;
    {
        RunningServer server(settings_);
        exchange(server.port(), "PUT /webdav/a HTTP/1.0\r\nContent-Length: 5\r\n\r\nab");
        EXPECT_NE(ask("/status").find(R"("requests":1,"succeeded":0,)"), std::string::npos);
    }
    settings_.limits.maxConnections = 10;
    settings_.threads = 1;
    RunningServer server(settings_);
    TestClient running(server.port());
    running.send("GET /webdav/block HTTP/1.0\r\n\r\n");
    TestExtension::waitUntilBlocked(1);
    TestClient queued(server.port());
    queued.send("GET /webdav/echo/late HTTP/1.0\r\n\r\n");
    while (ask("/status").find(R"("queued":1)") == std::string::npos) continue;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    TestExtension::openGate();
    queued.receiveAll();
    EXPECT_TRUE(server.stop());
    const size_t seconds = log().find(R"("seconds":)", log().find("/late"));
    ASSERT_NE(seconds, std::string::npos) << log();
    EXPECT_GE(std::stod(log().substr(seconds + 10)), 0.02);
}

TEST_F(AdminHost, IsHealthyWhileTheExtensionAnswersAndTheDiskTakesData) {
    {
        RunningServer server(settings_);
        EXPECT_TRUE(ask("/healthz").ends_with("\r\n\r\nok\n"));
        const std::string head = ask("/healthz", {}, "HEAD");
        EXPECT_TRUE(head.starts_with("HTTP/1.1 200 ") && head.ends_with("\r\n\r\n")) << head;
        EXPECT_TRUE(server.stop());
    }
    settings_.dataDirectory += "\\missing";
    for (const std::string problem :
         {"cannot write to the data directory: ", "cannot load the store: "}) {
        RunningServer server(settings_);
        const std::string answer = ask("/healthz");
        EXPECT_TRUE(answer.starts_with("HTTP/1.1 503 ")) << answer;
        EXPECT_NE(answer.find(problem), std::string::npos) << answer;
        EXPECT_TRUE(server.stop());
        settings_.storeLibrary = settings_.dataDirectory;
    }
}

TEST_F(AdminHost, TakesOverTheSocketOfTheDeadButNotOfTheLiving) {
    ExtensionModule module = TestExtension::module();
    {
        Server first(settings_, module);
        ASSERT_FALSE(first.openAdmin());
        const auto taken = Server(settings_, module).openAdmin();
        ASSERT_TRUE(taken);
        EXPECT_NE(taken->find("another server listens there"), std::string::npos) << *taken;
        std::filesystem::rename(socketFile(), socketFile() + ".kept");
    }
    std::filesystem::rename(socketFile() + ".kept", socketFile());
    EXPECT_FALSE(Server(settings_, module).openAdmin());
    settings_.adminListen = "unix:" + logFile();
    std::ofstream(logFile()) << "not ours";
    EXPECT_TRUE(Server(settings_, module).openAdmin());
    EXPECT_EQ(log(), "not ours");
}

TEST_F(AdminHost, WritesAnAccessLogThatCannotBeForgedOrGiveAwayQueries) {
    const std::string hostile =
        "GET /webdav/echo/\xC3\"\\?token=secret HTTP/1.1\r\nHost: x\r\nUser-Agent: a\"b\tc\r\n"
        "Referer: http://x/?secret\r\nAuthorization: Basic YSBiIgo6cHc=\r\n\r\n";
    {
        RunningServer server(settings_);
        exchange(server.port(), hostile);
        std::filesystem::rename(logFile(), logFile() + ".1");
        server.server().reload();
        exchange(server.port(), "\x01\r\n");
        EXPECT_TRUE(server.stop());
    }
    const std::string second = log();
    std::filesystem::rename(logFile() + ".1", logFile());
    EXPECT_EQ(
        timeless(log()),
        "127.0.0.1 - a\\x20b\\x22\\x0a ] \"GET /webdav/echo/\\xc3\\x22\\x5c HTTP/1.1\" 299 86 "
        "\"http://x/\" \"a\\x22b\\x09c\"\n");
    EXPECT_EQ(timeless(second), "127.0.0.1 - - ] \"-\" 400 134 \"-\" \"-\"\n");

    settings_.accessLogFormat = AccessLog::Format::kJson;
    std::filesystem::remove(logFile());
    RunningServer server(settings_);
    exchange(server.port(), hostile);
    EXPECT_TRUE(server.stop());
    EXPECT_NE(log().find(R"("login":"a b\\x22\\x0a","method":"GET",)"
                         R"("path":"/webdav/echo/\\xc3\\x22\\x5c","status":299,)"),
              std::string::npos)
        << log();
}

}  // namespace
}  // namespace host
