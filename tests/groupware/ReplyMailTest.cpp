// The way of an attendee's answer: as a text, into a local inbox, through the spool to a server.
#include <array>
#include <chrono>
#include <mutex>
#include <thread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "groupware/items/MessageFile.h"
#include "groupware/mail/MailMessage.h"
#include "groupware/mail/MailSender.h"
#include "groupware/mail/MailSettings.h"
#include "groupware/mail/ReplyText.h"
#include "groupware/mail/Spool.h"
#include "platform/PrivateProfile.h"
#include "tests/groupware/CVCalendarFixture.h"

namespace groupware {
namespace {

constexpr int64_t kNow = 1'750'000'000'000;  // 2025-06-15T15:06:40Z

/// A socket that listens on the loopback; its port is told.
int listening(uint16_t& port) {
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), size), 0);
    EXPECT_EQ(::listen(listener, 8), 0);
    ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
    port = ntohs(address.sin_port);
    return listener;
}

/// A mail server of one connection after another.
class SmtpReceiver {
  public:
    /// Answers to MAIL FROM, one a message; the last counts for all further ones.
    explicit SmtpReceiver(std::vector<std::string> answers)
        : answers_(std::move(answers)), listener_(listening(port)), thread_([this] { run(); }) {}
    ~SmtpReceiver() {
        ::shutdown(listener_, SHUT_RDWR);
        thread_.join();
        ::close(listener_);
    }

    uint16_t port = 0;
    std::vector<std::string> conversations() {
        const std::lock_guard guard(lock_);
        return conversations_;
    }

  private:
    void run() {
        for (size_t i = 0;; ++i) {
            const int client = ::accept(listener_, nullptr, nullptr);
            if (client < 0) return;
            talk(client, answers_[std::min(i, answers_.size() - 1)]);
            ::close(client);
        }
    }
    void talk(int client, const std::string& answer) {
        std::string heard;
        bool data = false;
        say(client, "220 ready");
        std::array<char, 4096> bytes{};
        for (size_t line = 0;;) {
            const auto count = ::read(client, bytes.data(), bytes.size());
            if (count <= 0) break;
            heard.append(bytes.data(), static_cast<size_t>(count));
            for (size_t end = 0; (end = heard.find("\r\n", line)) != std::string::npos;) {
                const std::string said = heard.substr(line, end - line);
                line = end + 2;
                if (data && said != ".") continue;
                data = said == "DATA";
                say(client, said.starts_with("MAIL") ? answer : data ? "354 go on" : "250 well");
            }
        }
        const std::lock_guard guard(lock_);
        conversations_.push_back(heard);
    }
    static void say(int client, const std::string& text) {
        const std::string line = text + "\r\n";
        EXPECT_GT(::write(client, line.data(), line.size()), 0);
    }

    std::vector<std::string> answers_;
    std::mutex lock_;
    std::vector<std::string> conversations_;
    int listener_;
    std::thread thread_;
};

bool within10s(const std::function<bool()>& happens) {
    for (int i = 0; i < 1000 && !happens(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return happens();
}

std::string invitation(const std::string& partstat, const std::string& more = "") {
    return "BEGIN:VCALENDAR\nVERSION:2.0\nBEGIN:VTIMEZONE\nTZID:Here\\, there\nBEGIN:STANDARD\n"
           "DTSTART:19700101T000000\nTZOFFSETFROM:+0100\nTZOFFSETTO:+0100\nEND:STANDARD\n"
           "END:VTIMEZONE\nBEGIN:VEVENT\nUID:meeting\nSEQUENCE:3\nDTSTAMP:20250101T000000Z\n"
           "DTSTART;TZID=\"Here, there\":20250601T100000\nRRULE:FREQ=DAILY;COUNT=9\n"
           "SUMMARY:Caf\xC3\xA9\\, n\\nBcc: eve@example.test\nX-MINE:1\n"
           "ORGANIZER;CN=Orga;SCHEDULE-STATUS=1.1:mailto:orga@example.org\n"
           "ATTENDEE;PARTSTAT=ACCEPTED:mailto:other@example.org\n"
           "ATTENDEE;CN=\"Alice; A.\";RSVP=TRUE;PARTSTAT=" +
           partstat + ":MAILTO:Alice@example.test\nEND:VEVENT\n" + more + "END:VCALENDAR\n";
}

constexpr const char* kDeclinedInstance =
    "BEGIN:VEVENT\nUID:meeting\nRECURRENCE-ID:20250602T090000Z\nDTSTART:20250602T100000Z\n"
    "ORGANIZER:mailto:orga@example.org\n"
    "ATTENDEE;PARTSTAT=DECLINED:mailto:alice@example.test\nEND:VEVENT\n"
    "BEGIN:VEVENT\nUID:meeting\nRECURRENCE-ID:20250603T090000Z\nDTSTART:20250603T100000Z\n"
    "ATTENDEE;PARTSTAT=NEEDS-ACTION:mailto:alice@example.test\nEND:VEVENT\n";

TEST(ReplyText, TellsTheActingAttendeeAlone) {
    const auto reply = replyText(invitation("TENTATIVE", kDeclinedInstance),
                                 {"alice@example.test", "ACCEPTED", "bob@example.test", kNow});
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->calendar,
              "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Corvane//CVWebDAV//EN\r\n"
              "METHOD:REPLY\r\nBEGIN:VTIMEZONE\r\nTZID:Here\\, there\r\nBEGIN:STANDARD\r\n"
              "DTSTART:19700101T000000\r\nTZOFFSETFROM:+0100\r\nTZOFFSETTO:+0100\r\n"
              "END:STANDARD\r\nEND:VTIMEZONE\r\n"
              "BEGIN:VEVENT\r\nUID:meeting\r\nSEQUENCE:3\r\n"
              "DTSTART;TZID=\"Here, there\":20250601T100000\r\n"
              "SUMMARY:Caf\xC3\xA9\\, n\\nBcc: eve@example.test\r\n"
              "ORGANIZER;CN=Orga:mailto:orga@example.org\r\n"
              "ATTENDEE;CN=\"Alice; A.\";PARTSTAT=ACCEPTED;SENT-BY=\"mailto:bob@example.test\"\r\n"
              " :MAILTO:Alice@example.test\r\n"
              "DTSTAMP:20250615T150640Z\r\nREQUEST-STATUS:2.0;Success\r\nEND:VEVENT\r\n"
              "BEGIN:VEVENT\r\nUID:meeting\r\nRECURRENCE-ID:20250602T090000Z\r\n"
              "DTSTART:20250602T100000Z\r\nORGANIZER:mailto:orga@example.org\r\n"
              "ATTENDEE;PARTSTAT=DECLINED;SENT-BY=\"mailto:bob@example.test\":mailto:alice@e\r\n"
              " xample.test\r\n"
              "DTSTAMP:20250615T150640Z\r\nREQUEST-STATUS:2.0;Success\r\nEND:VEVENT\r\n"
              "END:VCALENDAR\r\n");
    EXPECT_EQ(reply->summary, "Caf\xC3\xA9, n Bcc: eve@example.test");
    EXPECT_EQ(reply->start, "2025-06-01 10:00 (Here, there)");
    EXPECT_FALSE(replyText(invitation("ACCEPTED"), {"bob@example.test", "ACCEPTED", "", kNow}));
}

TEST(MailMessage, NothingInItsTextsEndsAField) {
    MailMessage message{"A \"B\"\r\nBcc: e@x",
                        "alice@example.test",
                        "",
                        "orga@example.org",
                        "Accepted: =?x\r\nBcc: e@x " + std::string(40, '\xC3'),
                        "w",
                        "BEGIN:VCALENDAR\r\nEND:VCALENDAR\r\n",
                        "REPLY",
                        "t0ken",
                        kNow};
    const std::string text = message.text();
    EXPECT_EQ(text.find("\nBcc"), std::string::npos) << text;
    EXPECT_NE(text.find("\r\nDate: Sun, 15 Jun 2025 15:06:40 +0000\r\n"), 0U);
    for (size_t line = 0, end = 0; (end = text.find("\r\n", line)) != std::string::npos;
         line = end + 2) {
        EXPECT_LE(end - line, 78U) << text.substr(line, end - line);
    }
    EXPECT_EQ(calendarTextOf(text), message.calendar);

    const std::pair<const char*, const char*> fields[] = {
        {"plain (1)", "plain (1)"},
        {"=?UTF-8?B?eA==?=", "=?UTF-8?B?PT9VVEYtOD9CP2VBPT0/PQ==?="},
        {"Zo\xC3\xAB", "=?UTF-8?B?Wm/Dqw==?="},
        {"", ""}};
    for (const auto& [given, field] : fields) EXPECT_EQ(headerText(given), field);
}

class ReplyMail : public CVCalendarFixture {
  protected:
    ReplyMail() : spool_(store_.paths().root) {
        EXPECT_FALSE(addUser(*engine_, "bob@example.test", "Bob", "secret"));
        EXPECT_FALSE(addAlias(*engine_, "bob@example.test", "robert@example.test"));
        set("SmtpHost", "");
    }
    void set(const char* key, const std::string& value) {
        platform::writeProfileText(store_.paths().mainSettings, "Mail", key, value);
    }
    void answer(const std::string& text, const char* organizer, uint32_t kind) {
        Events item(*this);
        ASSERT_EQ(CALL(CV_CalReadFromICalendarString, item.get(), text.c_str(), kActor), STORE_OK);
        ASSERT_EQ(CALL(CV_CalWriteCalItem, item.get(), events_.c_str(), kActor), STORE_OK);
        CALL(CV_CalSendICalendarMessage, item.get(), 0, 0, kActor, organizer, kind);
    }
    std::vector<std::string> messagesOf(const std::string& directory) {
        std::vector<std::string> found;
        for (const std::string& name : platform::listDirectory(directory)) {
            if (name.ends_with(".eml")) found.push_back(directory + name);
        }
        return found;
    }
    /// A sender that loses no time.
    MailSender sender(uint16_t port) {
        set("SmtpHost", "127.0.0.1");
        set("SmtpPort", std::to_string(port));
        return MailSender({store_.paths().root, store_.paths().mainSettings, {20, 20}});
    }

    Spool spool_;
};

TEST_F(ReplyMail, ReachesTheInboxOfALocalOrganizer) {
    answer(invitation("TENTATIVE"), "Robert@example.test", STORE_REPLY_TENTATIVE);
    const std::string inbox =
        engine_->mailDirectory(*engine_->database().account("bob@example.test"));
    // Not answered yet, another answer than the text's, no address: nothing is sent.
    answer(invitation("NEEDS-ACTION"), "robert@example.test", STORE_REPLY_ACCEPTED);
    answer(invitation("ACCEPTED"), "robert@example.test", STORE_REPLY_DECLINED);
    answer(invitation("ACCEPTED"), "x@y\r\nRCPT TO:<e@x>", STORE_REPLY_ACCEPTED);
    EXPECT_EQ(messagesOf(inbox).size(), 1U);
    EXPECT_TRUE(spool_.empty());
}

TEST_F(ReplyMail, WaitsInTheSpoolUntilThereIsAServerThatTakesIt) {
    answer(invitation("ACCEPTED"), "orga@example.org", STORE_REPLY_ACCEPTED);
    const auto waiting = spool_.entries();
    ASSERT_EQ(waiting.size(), 1U);
    const auto message = spool_.read(waiting[0]);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->envelope.sender, kActor);
    EXPECT_EQ(message->envelope.recipient, "orga@example.org");

    SmtpReceiver receiver({"451 later", "250 well"});
    auto mail = sender(receiver.port);
    {
        const auto elsewhere = spool_.tryLock();  // another process is at work
        mail.wake();
        EXPECT_EQ(spool_.tryLock(), nullptr);
        EXPECT_EQ(spool_.entries().size(), 1U);
    }
    EXPECT_TRUE(within10s([&] {
        mail.wake();
        return spool_.empty();
    }));
    ASSERT_TRUE(within10s([&] { return receiver.conversations().size() == 2; }));
    const std::string sent = receiver.conversations()[1];
    EXPECT_NE(sent.find("MAIL FROM:<alice@example.test>"), std::string::npos) << sent;
    EXPECT_NE(sent.find("RCPT TO:<orga@example.org>"), std::string::npos) << sent;
    EXPECT_EQ(sent.find("X-Sender"), std::string::npos) << sent;
    EXPECT_NE(sent.find("method=REPLY"), std::string::npos) << sent;
}

TEST_F(ReplyMail, PutsAsideWhatIsRefusedOrTooOld) {
    SmtpReceiver receiver({"451 later", "550 no"});  // the older one comes first
    const int64_t now = platform::nowUtcMs();
    const std::string failed = spool_.directory() + "\\failed\\";
    const std::string token = "-0-0-" + randomToken() + ".eml";
    const std::string forgotten = std::to_string(now - int64_t{91} * 86'400'000);
    platform::createDirectories(failed);
    for (const std::string& name : {forgotten + token, forgotten + "-other.eml"}) {
        platform::replaceFile(failed + name, "X-Failure: long ago\r\n");
    }
    for (const int64_t created : {now, now - int64_t{100} * 3'600'000}) {
        ASSERT_TRUE(spool_.add({"a@x.test", "b@x.test"}, "Subject: x\r\n\r\n.\r\n", created));
    }
    auto mail = sender(receiver.port);
    mail.wake();
    EXPECT_TRUE(within10s([&] { return spool_.empty(); }));
    EXPECT_EQ(messagesOf(failed).size(), 3U);
    EXPECT_FALSE(platform::fileExists(failed + forgotten + token));
    EXPECT_TRUE(platform::fileExists(failed + forgotten + "-other.eml"));
}

TEST_F(ReplyMail, NoMisspeltSettingTakesTheSecurityAway) {
    using enum MailSettings::Security;
    const std::pair<const char*, MailSettings::Security> words[] = {{"", kNone},
                                                                    {"none", kNone},
                                                                    {"TLS", kTls},
                                                                    {"STARTTLS", kStartTls},
                                                                    {"Start-TLS", kStartTls}};
    for (const auto& [word, security] : words) {
        set("SmtpSecurity", word);
        EXPECT_EQ(MailSettings::read(store_.paths().mainSettings).security, security) << word;
    }
}

TEST_F(ReplyMail, EndsAtOnceWhileAServerKeepsSilent) {
    uint16_t port = 0;
    const int silent = listening(port);
    ASSERT_TRUE(spool_.add({"a@x.test", "b@x.test"}, "\r\n", platform::nowUtcMs()));
    {
        auto mail = sender(port);
        mail.wake();
        EXPECT_TRUE(within10s([&] { return spool_.tryLock() == nullptr; }));
    }
    EXPECT_NE(spool_.tryLock(), nullptr);  // nobody works on it any more
    EXPECT_EQ(spool_.entries().size(), 1U);
    ::close(silent);
}

}  // namespace
}  // namespace groupware
