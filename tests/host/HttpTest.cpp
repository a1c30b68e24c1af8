#include <list>

#include <gtest/gtest.h>

#include "tests/host/TestClient.h"

namespace host {
namespace {

using namespace std::string_literals;

const std::string kAnswerHead = "HTTP/1.1 299 As given\r\nzeta: 1\r\nAlpha:2\r\n\r\n";
const std::string kHost = "Host: x\r\n";

std::string statusOf(const std::string& answer) {
    return answer.substr(0, answer.find("\r\n"));
}

TEST(Http, TheExtensionIsGivenTheRequestAndItsAnswerPassesThrough) {
    RunningServer server(plainSettings());
    const std::string chunkedPut =
        "PUT /webdav/echo HTTP/1.1\r\n" + kHost + "Transfer-Encoding: chunked\r\n";
    const std::pair<std::string, std::string> cases[] = {
        {"PROPFIND /webdav/echo/a%20b?c=%20 HTTP/1.1\r\n" + kHost +
             "Content-Type: text/xml\r\nContent-Length: 5\r\n\r\nhello",
         "PROPFIND /webdav/echo/a b c=%20 text/xml 5/5 1/0\nhello"},
        {"GET /webdav/echo HTTP/1.0\r\n\r\n", "GET /webdav/echo   0/0 1/0\n"},
        {"ODD-Method http://x/webdav/echo HTTP/1.1\r\n" + kHost + "\r\n",
         "ODD-Method /webdav/echo   0/0 1/0\n"},
        {"GET /webdav/echo HTTP/1.1\r\n" + kHost + "\r\nGET /second HTTP/1.1\r\n\r\n",
         "GET /webdav/echo   0/0 1/0\n"},
        {chunkedPut + "\r\n4;x=\"y\"\r\nwiki\r\n005\r\npedia\r\n0\r\n\r\n",
         "PUT /webdav/echo   9/9 1/0\nwikipedia"},
        {chunkedPut + "\r\n1\r\na\r\n0\r\nContent-Type: late\r\n\r\n",
         "PUT /webdav/echo   1/1 1/0\na"},
        {chunkedPut + "\r\n0\r\n\r\n", "PUT /webdav/echo   0/0 1/0\n"},
        {"PUT /webdav/echo HTTP/1.1\r\n" + kHost +
             "Transfer-Encoding:\tCHUNKED \r\n\r\n1\r\na\r\n0\r\n\r\n",
         "PUT /webdav/echo   1/1 1/0\na"},
        {"PUT /webdav/echo HTTP/1.1\r\n" + kHost + "Content-Length:  0005 \r\n\r\nhello!",
         "PUT /webdav/echo   5/5 1/0\nhello"},
        {"GET /webdav/echo HTTP/1.1\r\n" + kHost +
             "Connection: Upgrade, HTTP2-Settings\r\nUpgrade: h2c\r\n\r\n",
         "GET /webdav/echo   0/0 1/0\n"},
        {"HEAD /webdav/echo HTTP/1.1\r\n" + kHost + "\r\n", ""},
    };
    for (const auto& [request, body] : cases) {
        EXPECT_EQ(exchange(server.port(), request), kAnswerHead + body) << request;
    }
    EXPECT_EQ(exchange(server.port(), "GET /webdav/misuse HTTP/1.0\r\n\r\n"),
              "HTTP/1.1 200 OK\r\n\r\n00");
    EXPECT_EQ(exchange(server.port(), "GET /webdav/silent HTTP/1.0\r\n\r\n"), "");
    EXPECT_EQ(exchange(server.port(), "GET /webdav/throw HTTP/1.0\r\n\r\n"), "");
    EXPECT_EQ(exchange(server.port(), "GET /webdav/variables HTTP/1.0\r\n\r\n"),
              kAnswerHead +
                  "HTTPS=off/4\nREMOTE_ADDR=127.0.0.1/10\nexact=127.0.0.1/10\n"
                  "short=error 122/10\nunknown=error 1413/4096\n");
    EXPECT_TRUE(server.stop());
}

TEST(Http, HostileAndOddRequestsAreRefused) {
    ServerSettings settings = plainSettings();
    settings.limits.maxBody = 1000;
    RunningServer server(settings);
    const std::string put = "PUT /webdav/echo HTTP/1.1\r\n" + kHost;
    const std::string chunked = put + "Transfer-Encoding: chunked\r\n\r\n";
    const std::string host = "\r\nHost: x\r\n\r\n";
    const std::string end = "\r\n\r\n";
    const std::string longName(300, 'n');
    const std::string longTarget = "GET /" + std::string(9'000, 'a');
    const std::string longField = "A: " + std::string(17'000, 'a');
    std::string manyFields;
    for (size_t i = 0; i < settings.limits.maxFields; ++i) manyFields += "a: b\r\n";
    using Requests = std::vector<std::string>;
    const auto answers = [&](int status, const std::string& before, const std::string& behind,
                             const Requests& requests) {
        for (const std::string& request : requests) {
            const std::string answer = exchange(server.port(), before + request + behind);
            EXPECT_EQ(answer.substr(0, 13), "HTTP/1.1 " + std::to_string(status) + " ")
                << request.substr(0, 120) << "\n"
                << statusOf(answer);
            EXPECT_FALSE(answer.ends_with("RESET")) << request.substr(0, 120);
        }
    };
    // Request lines; the test of RequestTarget knows more targets.
    answers(200, "", host, {"OPTIONS * HTTP/1.1"});
    answers(400, "GET ", host,
            {"/webdav/%zz HTTP/1.1", "/webdav/\x7F HTTP/1.1", "/webdav/\t HTTP/1.1", "* HTTP/1.1",
             "/\0 HTTP/1.1"s, "/ http/1.1", "/ HTTP/1.1 ", "/a b HTTP/1.1", " / HTTP/1.1", "/"});
    answers(400, "", " / HTTP/1.1" + host, {"GET\t/", "G\0T"s, "G(T", " GET", "\r\n\r\nGET"});
    answers(404, "", "GET /nothing HTTP/1.1" + host, {"", "\r\n"});
    answers(414, longTarget, "", {"", " HTTP/1.1" + host});
    answers(414, longTarget.substr(0, 1'028), " HTTP/1.1" + host, {""});
    answers(505, "GET / HTTP/", host, {"2.0", "1.2"});
    answers(505, "PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n", "", {""});
    // Whole heads, and what only begins as one.
    answers(400, "", "",
            {"GET / HTTP/1.1\rHost: x\r\n\r\n", "GET / HTTP/1.1\nHost: x\n\n", "GET\r\n\r\n",
             "\nGET / HTTP/1.1\r\n", "\rGET / HTTP/1.1\r\n", "GET /\r\n\r\n", "\x16\x03\x01\x02",
             "PUT /webdav/echo HTTP/1.0\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n"});
    answers(400, "GET / HTTP/1.1", end, {"", "\r\nHost: a b", "\r\nHost: x, y"});
    answers(404, "GET /nothing HTTP/1.1\r\nHost:", end, {""});
    answers(431, put, "", {longField, manyFields});
    // Header fields.
    answers(400, put, end,
            {"A: b\r\n c", "A: b\r\n\tc", "A: b\x01", "A: b\rc", "A: b\0c"s, "A: b\n", ": 5",
             "no colon", "Host: x"});
    answers(431, put, end, {manyFields, longName + ": v", longField});
    answers(417, put, end, {"Expect: 200-ok"});
    answers(400, put + "Content-Length", end,
            {": 5, 5", ": -5", ": +5", ": 0x5", ":", " : 5", ": 5\r\nContent-Length: 6",
             ": 5\r\nContent-Length: 5\r\n\r\nabcde", ": 5\r\nTransfer-Encoding: chunked"});
    answers(413, put + "Content-Length: ", end,
            {"1001", "1001\r\nExpect: 100-continue", "18446744073709551616"});
    answers(400, put + "Transfer-Encoding", end,
            {" : chunked", ": chunked\r\nTransfer-Encoding: x",
             ": chunked\r\nTransfer-Encoding: chunked"});
    answers(501, put + "Transfer-Encoding: ", end,
            {"gzip", "gzip, chunked", "chunked, chunked", "chunked, identity", "identity",
             "xchunked", "\x0B"});
    // Bodies in pieces.
    const std::string last = "\r\n0\r\n\r\n";
    answers(400, chunked, "", {"fffffffffffffffff\r\n", "-1\r\n", "\r\n\r\n", "1\na\n0\n\n\r\n"});
    answers(400, chunked, last,
            {"+1\r\na", "0x1\r\na", "1\r\nab", "1 \r\na", "1\r\naX0", "1;a=\"b\r\nc\"\r\na"});
    answers(400, chunked, "", {"1;" + std::string(100'000, 'e')});
    answers(400, chunked + "0\r\n", end,
            {"Content-Length: 5", " : x", "t: x\nu: y", "t: " + std::string(100'000, 't')});
    answers(
        413, chunked, last,
        {"3e9\r\n" + std::string(1001, 'x'), "3e8\r\n" + std::string(1000, 'x') + "\r\n1\r\nx"});
    answers(413, chunked, "", {"ffffffffffffffff\r\n"});
    EXPECT_TRUE(server.stop());
}

TEST(Http, RedirectsAreSeenEvenByAClientThatSendsABody) {
    RunningServer server(plainSettings());
    const std::string body(500'000, 'x');
    const std::string answer = exchange(server.port(),
                                        "PROPFIND /.well-known/caldav HTTP/1.1\r\nHost: x\r\n"
                                        "Content-Length: 500000\r\n\r\n" +
                                            body);
    EXPECT_EQ(statusOf(answer), "HTTP/1.1 308 Permanent Redirect");
    EXPECT_NE(answer.find("\r\nLocation: /webdav/principals/\r\n"), std::string::npos);
    EXPECT_TRUE(answer.ends_with("address.\n")) << answer;

    const std::string head = exchange(server.port(), "HEAD / HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_NE(head.find("\r\nLocation: /webdav/\r\n"), std::string::npos);
    EXPECT_TRUE(head.ends_with("\r\n\r\n"));
}

TEST(Http, ARefusedUploadDoesNotLoseItsAnswer) {
    RunningServer server(plainSettings());
    TestClient client(server.port());
    client.send("PUT /webdav/echo HTTP/1.1\r\nHost: x\r\nContent-Length: 99999999\r\n\r\n");
    EXPECT_TRUE(client.send(std::string(8'000'000, 'x')));
    const std::string answer = client.receiveAll();
    EXPECT_EQ(statusOf(answer), "HTTP/1.1 413 Content Too Large");
    EXPECT_FALSE(answer.ends_with("RESET"));
}

TEST(Http, BytesThatDripAndBodiesThatAreAnnounced) {
    RunningServer server(plainSettings());
    TestClient dripping(server.port());
    const std::string request =
        "PUT /webdav/echo HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n"
        "3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n";
    for (const char& byte : request) dripping.send({&byte, 1});
    EXPECT_EQ(dripping.receiveAll(), kAnswerHead + "PUT /webdav/echo   5/5 1/0\nabcde");

    const std::string goOn = "HTTP/1.1 100 Continue\r\n\r\n";
    TestClient announcing(server.port());
    announcing.send(
        "PUT /webdav/echo HTTP/1.1\r\nHost: x\r\nExpect: 100-Continue\r\n"
        "Content-Length: 2000000\r\n\r\n");
    EXPECT_EQ(announcing.receive(goOn.size()), goOn);
    const std::string body(2'000'000, 'b');
    announcing.send(body);
    EXPECT_EQ(announcing.receiveAll(),
              kAnswerHead + "PUT /webdav/echo   2000000/2000000 1/0\n" + body);

    TestClient closing(server.port());
    closing.send("GET /webdav/large HTTP/1.1\r\nHost: x\r\n\r\n");
    closing.endSending();
    EXPECT_EQ(closing.receiveAll().size(), kAnswerHead.size() + 4'000'000);
}

TEST(Http, ASlowOrVanishedClientIsLetGo) {
    ServerSettings settings = plainSettings();
    settings.limits.headTime = std::chrono::milliseconds(50);
    settings.limits.pieceTime = std::chrono::milliseconds(50);
    settings.limits.lingerTime = std::chrono::milliseconds(50);
    RunningServer server(settings);
    EXPECT_EQ(exchange(server.port(), ""), "");
    EXPECT_EQ(exchange(server.port(), "GET /webdav/echo HTTP/1.1\r\nHost:"), "");
    EXPECT_EQ(exchange(server.port(), "PUT /webdav/echo HTTP/1.0\r\nContent-Length: 5\r\n\r\nab"),
              "");
    // The extension hears of a body that was cut short, and how much was missing.
    const std::pair<const char*, const char*> cut[] = {
        {"Content-Length: 5\r\n\r\nab", "5/2 1/0\nab"},
        {"Content-Length: 5\r\n\r\n", "5/0 1/0\n"},
        {"Content-Length: 5\r\nExpect: 100-continue\r\n\r\nabc", "5/3 1/0\nabc"},
        {"Transfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n", "4/3 1/0\nabc"},
        {"Transfer-Encoding: chunked\r\n\r\n4\r\nabc", "4/3 1/0\nabc"},
    };
    for (const auto& [request, expected] : cut) {
        TestClient gone(server.port());
        gone.send("PUT /webdav/echo HTTP/1.1\r\nHost: x\r\n" + std::string(request));
        gone.endSending();
        EXPECT_EQ(gone.receiveAll(), kAnswerHead + "PUT /webdav/echo   " + expected) << request;
    }
    // Wants a large answer and reads none of it.
    TestClient stuck(server.port());
    stuck.send("GET /webdav/large HTTP/1.0\r\n\r\n");
    EXPECT_TRUE(server.stop());
}

TEST(Http, BeyondTheQueueComesAnAnswerAtOnce) {
    ServerSettings settings = plainSettings();
    settings.threads = 1;
    settings.limits.queueLength = 1;
    settings.limits.lingerTime = std::chrono::milliseconds(200);
    RunningServer server(settings);
    const std::string request = "GET /webdav/block HTTP/1.1\r\nHost: x\r\n\r\n";
    TestClient running(server.port());
    running.send(request);
    TestExtension::waitUntilBlocked(1);
    TestClient second(server.port());
    TestClient third(server.port());
    second.send(request);
    third.send(request);
    // One of the two waits, the other is turned away; which is not known.
    TestClient fourth(server.port());
    fourth.send(request);
    const std::string refused = fourth.receiveAll();
    EXPECT_EQ(statusOf(refused), "HTTP/1.1 503 Service Unavailable");
    EXPECT_NE(refused.find("\r\nRetry-After: 1\r\n"), std::string::npos);

    server.server().stop();
    TestExtension::openGate();
    EXPECT_EQ(running.receiveAll(), kAnswerHead + "went on");
    const std::string outcomes = second.receiveAll() + third.receiveAll();
    EXPECT_NE(outcomes.find("went on"), std::string::npos);
    EXPECT_NE(outcomes.find(" 503 "), std::string::npos);
    EXPECT_TRUE(server.stop());
}

TEST(Http, BeyondTheMemoryForBodiesComesAnAnswerAtOnce) {
    ServerSettings settings = plainSettings();
    settings.limits.maxHeld = 600'000;
    settings.limits.lingerTime = std::chrono::milliseconds(200);
    RunningServer server(settings);
    const std::string put = "PUT /webdav/echo HTTP/1.1\r\nHost: x\r\nContent-Length: ";
    TestClient slow(server.port());
    slow.send(put + "300001\r\n\r\n" + std::string(299'990, 'x'));
    // While these are answered, by the loop, all of that is read there.
    for (int i = 0; i < 20; ++i) exchange(server.port(), "GET /nothing HTTP/1.0\r\n\r\n");
    const std::string more = put + "100000\r\n\r\n" + std::string(100'000, 'x');
    const std::string second = exchange(server.port(), more);
    EXPECT_EQ(statusOf(second).substr(9), "503 Service Unavailable");
    EXPECT_NE(second.find("\r\nRetry-After: 1\r\n"), std::string::npos);
    EXPECT_EQ(statusOf(exchange(server.port(), put + "2\r\n\r\nab")), "HTTP/1.1 299 As given");
    slow.send(std::string(11, 'x'));
    EXPECT_EQ(statusOf(slow.receiveAll()).substr(9), "503 Service Unavailable");
    EXPECT_EQ(statusOf(exchange(server.port(), more)), "HTTP/1.1 299 As given");
    EXPECT_TRUE(server.stop());
}

TEST(Http, SilentConnectionsMakeRoomForOthersTheOldestFirst) {
    ServerSettings settings = plainSettings();
    settings.limits.maxConnections = 20;
    RunningServer server(settings);
    std::list<TestClient> silent;
    for (int i = 0; i < 200; ++i) {
        silent.emplace_back(server.port());
        if (i % 2 == 0) silent.back().send("GET /webdav/echo HT");
        if (i % 20 == 0) {
            EXPECT_EQ(statusOf(exchange(server.port(), "GET /webdav/echo HTTP/1.0\r\n\r\n")),
                      "HTTP/1.1 299 As given");
        }
    }
    EXPECT_EQ(silent.front().receiveAll(), "");
    silent.back().send("GET /webdav/echo HTTP/1.0\r\n\r\n");
    EXPECT_EQ(statusOf(silent.back().receiveAll()), "HTTP/1.1 299 As given");
    EXPECT_TRUE(server.stop());
}

TEST(Http, StopLetsIdleConnectionsGoAndFinishesRequests) {
    ServerSettings settings = plainSettings();
    settings.limits.lingerTime = std::chrono::milliseconds(200);
    RunningServer server(settings);
    TestClient idle(server.port());
    TestClient begun(server.port());
    begun.send("GET /webdav/echo HTTP/1.1\r\n");
    TestClient busy(server.port());
    busy.send("GET /webdav/block HTTP/1.1\r\nHost: x\r\n\r\n");
    TestExtension::waitUntilBlocked(1);
    server.server().stop();
    EXPECT_EQ(begun.receiveAll(), "");
    // Of one that says nothing the server may not have heard, and need not tell it of the end.
    idle.send("GET /webdav/echo HTTP/1.0\r\n\r\n");
    EXPECT_EQ(idle.receiveAll().find("299"), std::string::npos);
    TestExtension::openGate();
    EXPECT_EQ(busy.receiveAll(), kAnswerHead + "went on");
    EXPECT_TRUE(server.stop());
}

TEST(Http, ACallThatOutlastsTheDrainIsReported) {
    ServerSettings settings = plainSettings();
    settings.limits.drainTime = std::chrono::milliseconds(20);
    RunningServer server(settings);
    TestClient client(server.port());
    client.send("GET /webdav/block HTTP/1.1\r\nHost: x\r\n\r\n");
    TestExtension::waitUntilBlocked(1);
    EXPECT_FALSE(server.stop());
    TestExtension::openGate();
}

TEST(Http, AnAddressThatIsTakenIsNamed) {
    RunningServer server(plainSettings());
    ServerSettings settings;
    settings.plain.push_back({"127.0.0.1", server.port()});
    ExtensionModule module = TestExtension::module();
    const auto taken = Server(settings, module).open();
    ASSERT_TRUE(taken);
    EXPECT_NE(taken->find("127.0.0.1 port " + std::to_string(server.port())), std::string::npos);
    settings.plain[0].address = "localhost";
    EXPECT_TRUE(Server(settings, module).open());
}

}  // namespace
}  // namespace host
