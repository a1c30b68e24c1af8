#include <list>

#include <gtest/gtest.h>

#include "tests/host/TestClient.h"

namespace host {
namespace {

const std::string kAnswerHead = "HTTP/1.1 299 As given\r\nzeta: 1\r\nAlpha:2\r\n\r\n";
const std::string kHost = "Host: x\r\n";

std::string statusOf(const std::string& answer) {
    return answer.substr(0, answer.find("\r\n"));
}

TEST(Http, TheExtensionIsGivenTheRequestAndItsAnswerPassesThrough) {
    RunningServer server(plainSettings());
    struct Case {
        std::string request;
        std::string body;
    };
    const std::string chunkedPut =
        "PUT /webdav/echo HTTP/1.1\r\n" + kHost + "Transfer-Encoding: chunked\r\n";
    const Case cases[] = {
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
        {"PUT /webdav/echo HTTP/1.1\r\n" + kHost + "Content-Length: 0005\r\n\r\nhello!",
         "PUT /webdav/echo   5/5 1/0\nhello"},
        {"GET /webdav/echo HTTP/1.1\r\n" + kHost +
             "Connection: Upgrade, HTTP2-Settings\r\nUpgrade: h2c\r\n\r\n",
         "GET /webdav/echo   0/0 1/0\n"},
        {"HEAD /webdav/echo HTTP/1.1\r\n" + kHost + "\r\n", ""},
    };
    for (const Case& expected : cases) {
        EXPECT_EQ(exchange(server.port(), expected.request), kAnswerHead + expected.body)
            << expected.request;
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
    struct Case {
        std::string request;
        int status;
    };
    const std::string put = "PUT /webdav/echo HTTP/1.1\r\nHost: x\r\n";
    std::string manyFields;
    for (size_t i = 0; i < settings.limits.maxFields; ++i) manyFields += "a: b\r\n";
    const std::string chunked = put + "Transfer-Encoding: chunked\r\n\r\n";
    const Case cases[] = {
        {"GET /webdav/echo HTTP/1.1\r\n\r\n", 400},
        {put + "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n", 400},
        {put + "Transfer-Encoding: gzip, chunked\r\n\r\n", 501},
        {put + "Transfer-Encoding: chunked, chunked\r\n\r\n", 501},
        {put + "Transfer-Encoding: identity\r\n\r\n", 501},
        {"PUT /webdav/echo HTTP/1.0\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", 400},
        {put + manyFields + "\r\n", 431},
        {put + "A: b\r\n c\r\n\r\n", 400},
        {put + "A: b\x01\r\n\r\n", 400},
        {put + "A: b\rc\r\n\r\n", 400},
        {put + std::string("A: b\0c\r\n\r\n", 10), 400},
        {put + "Content-Length: 1001\r\n\r\n", 413},
        {put + "Expect: 100-continue\r\nContent-Length: 1001\r\n\r\n", 413},
        {put + "Content-Length: 18446744073709551616\r\n\r\n", 413},
        {chunked + "3e9\r\n" + std::string(1001, 'x') + "\r\n0\r\n\r\n", 413},
        {chunked + "3e8\r\n" + std::string(1000, 'x') + "\r\n1\r\nx\r\n0\r\n\r\n", 413},
        {chunked + "ffffffffffffffff\r\n", 413},
        {chunked + "fffffffffffffffff\r\n", 400},
        {chunked + "-1\r\n", 400},
        {chunked + "0x1\r\na\r\n0\r\n\r\n", 400},
        {chunked + "\r\n\r\n", 400},
        {chunked + "1\r\nab\r\n0\r\n\r\n", 400},
        {chunked + "1 \r\na\r\n0\r\n\r\n", 400},
        {chunked + "0\r\nContent-Length: 5\r\n\r\n", 400},
        {chunked + "1;" + std::string(100'000, 'e'), 400},
        {chunked + "0\r\nt: " + std::string(100'000, 't'), 400},
        {"GET /webdav/%00 HTTP/1.1\r\nHost: x\r\n\r\n", 400},
        {"GET /webdav/%zz HTTP/1.1\r\nHost: x\r\n\r\n", 400},
        {"GET /webdav/\x7F HTTP/1.1\r\nHost: x\r\n\r\n", 400},
        {"GET /webdav/\t HTTP/1.1\r\nHost: x\r\n\r\n", 400},
        {"CONNECT x:443 HTTP/1.1\r\nHost: x\r\n\r\n", 400},
        {"OPTIONS * HTTP/1.1\r\nHost: x\r\n\r\n", 200},
        {"GET * HTTP/1.1\r\nHost: x\r\n\r\n", 400},
        {"\r\nGET /nothing HTTP/1.1\r\nHost: x\r\n\r\n", 404},
        {"\r\n\r\nGET /nothing HTTP/1.1\r\nHost: x\r\n\r\n", 400},
        {"\nGET / HTTP/1.1\r\n", 400},
        {"\rGET / HTTP/1.1\r\n", 400},
        {" GET / HTTP/1.1\r\n", 400},
        {"GET /\r\n\r\n", 400},
        {"GET\r\n\r\n", 400},
        {"GET / HTTP/1.1\rHost: x\r\n\r\n", 400},
        {"GET / HTTP/1.1\nHost: x\n\n", 400},
        {"GET\t/ HTTP/1.1\r\nHost: x\r\n\r\n", 400},
        {std::string("G\0T / HTTP/1.1\r\nHost: x\r\n\r\n", 27), 400},
        {std::string("GET /\0 HTTP/1.1\r\nHost: x\r\n\r\n", 28), 400},
        {"GET ftp://x/ HTTP/1.1\r\nHost: x\r\n\r\n", 400},
        {"GET http:///a HTTP/1.1\r\nHost: x\r\n\r\n", 400},
        {"GET http://u@x/a HTTP/1.1\r\nHost: x\r\n\r\n", 400},
        {put + "Content-Length: 5\r\nContent-Length: 5\r\n\r\nabcde", 400},
        {put + "Content-Length: 5\r\nContent-Length: 6\r\n\r\nabcde", 400},
        {put + "Content-Length: 5, 5\r\n\r\nabcde", 400},
        {put + "Content-Length: -5\r\n\r\n", 400},
        {put + "Transfer-Encoding: chunked\r\nTransfer-Encoding: x\r\n\r\n", 400},
        {put + "Transfer-Encoding: \x0B\r\n\r\n", 501},
        {put + "Transfer-Encoding : chunked\r\n\r\n", 400},
        {put + std::string(300, 'n') + ": v\r\n\r\n", 431},
        {chunked + "1;a=\"b\r\nc\"\r\na\r\n0\r\n\r\n", 400},
        {chunked + "1\na\n0\n\n\r\n", 400},
        {chunked + "1\r\naX0\r\n\r\n", 400},
        {chunked + "+1\r\na\r\n0\r\n\r\n", 400},
        {chunked + "0\r\n : x\r\n\r\n", 400},
        {chunked + "0\r\nt: x\nu: y\r\n\r\n", 400},
        {"PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n", 505},
        {"GET /" + std::string(9'000, 'a') + " HTTP/1.1\r\nHost: x\r\n\r\n", 414},
        {"GET /" + std::string(1'023, 'a') + " HTTP/1.1\r\nHost: x\r\n\r\n", 414},
        {put + "A: " + std::string(17'000, 'a') + "\r\n\r\n", 431},
        {put + "Expect: else\r\n\r\n", 417},
        {"\x16\x03\x01\x02", 400},
        {"GET /nothing HTTP/1.1\r\nHost: x\r\n\r\n", 404},
    };
    for (const Case& expected : cases) {
        const std::string answer = exchange(server.port(), expected.request);
        EXPECT_EQ(answer.substr(0, 13), "HTTP/1.1 " + std::to_string(expected.status) + " ")
            << expected.request.substr(0, 120) << "\n"
            << statusOf(answer);
        EXPECT_FALSE(answer.ends_with("RESET")) << expected.request.substr(0, 120);
    }
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
        "PUT /webdav/echo HTTP/1.1\r\nHost: x\r\nExpect: 100-continue\r\n"
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
