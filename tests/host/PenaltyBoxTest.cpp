#include <list>

#include <gtest/gtest.h>

#include "host/LoginAttempt.h"
#include "host/PenaltyBox.h"
#include "tests/host/TestClient.h"

namespace host {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::seconds;

/// A box with a clock that stands still, and what its log says.
class Box {
  public:
    Box() { testing::internal::CaptureStderr(); }
    ~Box() {
        if (!read_) log();
    }

    void fail(const PenaltyBox::Suspect& who, int times = 1) {
        for (int i = 0; i < times; ++i) box.failed(who, now);
    }
    /// How long a try has to wait; negative when it is refused.
    milliseconds wait(const PenaltyBox::Suspect& who) {
        const PenaltyBox::Verdict verdict = box.judge(who, now);
        if (verdict.underway) box.over(who);
        return verdict.refused ? -verdict.wait : verdict.wait;
    }
    std::string log() {
        read_ = true;
        return testing::internal::GetCapturedStderr();
    }

    PenaltyBox box;
    PenaltyBox::Time now{hours(1000)};

  private:
    bool read_ = false;
};

TEST(PenaltyBox, PausesGrowAndTriesTakeTurnsUntilTheyAreRefused) {
    Box box;
    const PenaltyBox::Suspect guesser{"192.0.2.7", "alice"};
    box.fail(guesser, 2);
    EXPECT_EQ(box.wait(guesser), seconds(0));
    box.fail(guesser);
    const seconds turns[] = {seconds(1), seconds(2), seconds(3),
                             seconds(4), seconds(5), seconds(-6)};
    for (const seconds expected : turns) EXPECT_EQ(box.wait(guesser), expected);
    box.now += seconds(6);
    box.fail(guesser, 37);
    EXPECT_EQ(box.wait(guesser), seconds(-300));
    box.now += seconds(300);
    EXPECT_EQ(box.wait(guesser), seconds(0));
    EXPECT_EQ(box.wait(guesser), seconds(-300));
    box.now += hours(1);
    EXPECT_EQ(box.wait(guesser), seconds(0));
    EXPECT_EQ(box.wait(guesser), seconds(0));
    EXPECT_EQ(box.box.counts().failures, 40U);
    EXPECT_EQ(box.box.counts().refused, 3U);
}

TEST(PenaltyBox, CountsByNetworkAndByLoginAndSparesTheOthers) {
    const std::tuple<PenaltyBox::Suspect, PenaltyBox::Suspect, bool> cases[] = {
        {{"192.0.2.7", "a"}, {"192.0.2.7", "b"}, true},
        {{"192.0.2.7", "a"}, {"::ffff:192.0.2.7", "b"}, true},
        {{"192.0.2.7", "a"}, {"192.0.2.8", "b"}, false},
        {{"192.0.2.7", "a"}, {"192.0.2.8", "a"}, true},
        {{"2001:db8:1::1", "a"}, {"2001:db8:1:ffff::9", "b"}, true},
        {{"2001:db8:1::1", "a"}, {"2001:db8:2::1", "b"}, false},
        {{"", "a"}, {"", "b"}, false},
        {{"", "a"}, {"", "a"}, true},
        {{"192.0.2.7", ""}, {"192.0.2.8", ""}, false},
        {{"192.0.2.7", ""}, {"192.0.2.7", ""}, true},
    };
    for (const auto& [failed, next, waits] : cases) {
        Box box;
        box.fail(failed, 9);
        EXPECT_EQ(box.wait(next) != seconds(0), waits) << failed.address << " " << next.address;
    }
}

TEST(PenaltyBox, TriesFewAtOnceUntilOneSucceeds) {
    const auto name = [](int i) { return std::to_string(i); };
    const auto place = [](int i) { return "192.0.2." + std::to_string(i); };
    for (const bool sameLogin : {false, true}) {
        Box box;
        const auto suspect = [&](int i) {
            return sameLogin ? PenaltyBox::Suspect{place(i), "alice"}
                             : PenaltyBox::Suspect{place(1), name(i)};
        };
        for (int i = 0; i < 8; ++i) EXPECT_TRUE(box.box.judge(suspect(i), box.now).underway);
        const PenaltyBox::Verdict ninth = box.box.judge(suspect(8), box.now);
        EXPECT_TRUE(ninth.again && !ninth.underway && !ninth.refused);
        EXPECT_GT(ninth.wait.count(), 0);
        EXPECT_TRUE(box.box.judge(suspect(8), box.now, seconds(5)).refused);
        EXPECT_TRUE(box.box.judge({"198.51.100.1", "bob"}, box.now).underway);
        box.box.succeeded(suspect(8), box.now);
        EXPECT_EQ(box.wait(suspect(8)), seconds(0));
        box.box.over(suspect(0));
        EXPECT_TRUE(box.box.judge(suspect(9), box.now).underway);
    }
}

TEST(PenaltyBox, ASuccessTakesBackItsOwnFailuresOnly) {
    Box box;
    const PenaltyBox::Suspect alice{"192.0.2.7", "alice"};
    const PenaltyBox::Suspect bob{"192.0.2.7", "bob"};
    const PenaltyBox::Suspect elsewhere{"198.51.100.1", "alice"};
    box.fail(alice, 9);
    box.box.succeeded(alice, box.now);
    EXPECT_EQ(box.wait(alice), seconds(0));
    EXPECT_EQ(box.wait(bob), seconds(0));
    EXPECT_EQ(box.box.counts().networks + box.box.counts().logins, 0U);

    // Guesses at others, with successes of an account of one's own between them.
    for (int i = 0; i < 9; ++i) {
        box.fail({"192.0.2.7", "victim" + std::to_string(i)});
        box.box.succeeded(bob, box.now);
    }
    EXPECT_NE(box.wait({"192.0.2.7", "victim"}), seconds(0));
    // Who has logged in from there goes on, as does the victim where it has logged in.
    EXPECT_EQ(box.wait(alice), seconds(0));
    box.fail(elsewhere, 9);
    EXPECT_EQ(box.wait(alice), seconds(0));
    box.fail(alice);
    EXPECT_NE(box.wait(alice), seconds(0));
}

TEST(PenaltyBox, LogsEachStepOnce) {
    Box box;
    box.fail({"192.0.2.7", "a\"\n\xC3"}, 6);
    const std::string name = R"(login "a\x22\x0a\xc3")";
    std::string expected;
    for (const std::string step : {"failures 3, pause 1 s\n", "failures 5, pause 2 s\n"}) {
        for (const std::string& who : {std::string("network 192.0.2.7/32"), name}) {
            expected += "cvwebdavd: logins fail: client 192.0.2.7, " + who + ", " + step;
        }
    }
    EXPECT_EQ(box.log(), expected);
}

TEST(PenaltyBox, MemoryIsBounded) {
    Box box;
    for (int i = 0; i < 30'000; ++i) box.fail({"192.0.2.7", std::to_string(i)});
    EXPECT_EQ(box.box.counts().logins, 10'000U);
    EXPECT_EQ(box.box.counts().networks, 1U);
}

TEST(LoginAttempt, IsReadAsAnExtensionWouldReadIt) {
    const std::string kCut = [] {
        std::string name;
        while (name.size() < 256) name += "y\xE7\x9E";
        return name.substr(0, 256);
    }();
    const std::string alice = "QWxpY2U6c2VjcmV0";  // Alice:secret
    const std::string basic = "Authorization: Basic " + alice + "\r\n";
    const std::tuple<std::string, const char*, bool, std::optional<std::string>, bool> cases[] = {
        {"", "", true, std::nullopt, false},
        {basic, "", false, "alice", true},
        {"authorization: bAsIc  Q*Wx\tpY2U6c2VjcmV0\r\n", "", false, "alice", true},
        {"Authorization: Basic QWxp====\r\n", "", false, "ali", true},
        {"Authorization: Basic QWwAeDp4\r\n", "", false, "al", true},
        {"Authorization: Basic\r\n", "", false, "", true},
        {"Authorization: Bearer abc\r\n", "", false, "", true},
        {basic, "token=1", false, "alice", false},
        {basic, "username=B%6Fb&password=x", true, "bob", false},
        {basic, "username=bob&password=x", false, "alice", false},
        {basic, "username=bob&password=", true, "alice", false},
        {"", "password=x&username=a%zz", true, std::nullopt, false},
        {"Authorization: Basic " + std::string(4'000, 'e') + "\r\n", "", false, kCut, true},
    };
    for (const auto& [header, query, secure, login, provesLogin] : cases) {
        Request request;
        ASSERT_EQ(request.head.parse("GET / HTTP/1.0\r\n" + header + "\r\n"), 0U);
        request.target.query = query;
        request.connection.secure = secure;
        const auto attempt = loginAttemptOf(request);
        ASSERT_EQ(attempt.has_value(), login.has_value()) << header;
        if (!attempt) continue;
        EXPECT_EQ(attempt->provesLogin, provesLogin) << header;
        EXPECT_EQ(attempt->login, *login);
    }
}

TEST(Http, LoginsThatFailAreSlowedAndThenRefused) {
    testing::internal::CaptureStderr();
    RunningServer server(plainSettings());
    const auto logIn = [&](const std::string& name, const std::string& more = "") {
        return exchange(server.port(), "GET /webdav/login HTTP/1.1\r\nHost: x\r\n" + more +
                                           "Authorization: Basic " + name + "\r\n\r\n")
            .substr(9, 3);
    };
    // Without credentials nothing is counted.
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(exchange(server.port(), "GET /webdav/login HTTP/1.0\r\n\r\n").substr(9, 3),
                  "401");
    }
    EXPECT_EQ(logIn("Ym9iOg==", "X-Right: yes\r\n"), "200");
    for (int i = 0; i < 3; ++i) EXPECT_EQ(logIn("YWxpY2U6"), "401");
    // The next one waits, and nothing of it is lost meanwhile.
    const std::string waited = exchange(server.port(),
                                        "PUT /webdav/login HTTP/1.1\r\nHost: x\r\n"
                                        "Authorization: Basic YWxpY2U6\r\nContent-Length: 4\r\n"
                                        "\r\nbody");
    EXPECT_TRUE(waited.ends_with("\r\n\r\nbody")) << waited;
    std::list<TestClient> clients;
    for (int i = 0; i < 8; ++i) {
        clients.emplace_back(server.port());
        clients.back().send(
            "GET /webdav/login HTTP/1.1\r\nHost: x\r\nAuthorization: Basic YWxpY2U6\r\n\r\n");
    }
    std::string refused;
    for (; !refused.starts_with("HTTP/1.1 429 ") && !clients.empty(); clients.pop_back())
        refused = clients.back().receiveAll();
    clients.clear();
    EXPECT_NE(refused.find("\r\nRetry-After: "), std::string::npos);
    EXPECT_EQ(logIn("Ym9iOg=="), "401");
    EXPECT_TRUE(server.stop());
    EXPECT_NE(testing::internal::GetCapturedStderr().find("client 127.0.0.1, network"),
              std::string::npos);
}

}  // namespace
}  // namespace host
