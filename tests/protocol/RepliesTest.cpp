// When the organizer of an event is told of an attendee's answer, and of which.
#include <string>

#include <gtest/gtest.h>

#include "tests/protocol/ModuleClient.h"

namespace {

const std::string kCalendar = "/webdav/calendars/example.test/alice/";
const std::string kEmClient = "eM Client/8.0";

std::string event(const std::string& attendee, const std::string& organizer = "bob@example.test") {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Test//EN\r\nBEGIN:VEVENT\r\nUID:meeting\r\n"
           "DTSTAMP:20250101T000000Z\r\nDTSTART:20250110T090000Z\r\nORGANIZER:mailto:" +
           organizer + "\r\n" + attendee + "END:VEVENT\r\nEND:VCALENDAR\r\n";
}

std::string alice(const std::string& parameters) {
    return "ATTENDEE" + parameters + ":mailto:Alice@Example.test\r\n";
}

std::string status(const std::string& value) {
    return alice(";PARTSTAT=" + value);
}

struct Case {
    const char* what;
    std::string before;  ///< the event as it stands, empty when there is none
    std::string after;
    int reply = 0;  ///< 5 accepted, 6 tentative, 7 declined, 0 none
    std::string agent = {};
    std::string folder = kCalendar;
    std::string actor = "alice@example.test";
};

TEST(Replies, AreSentWhenAnAttendeeAnswers) {
    const std::string asked = event(status("NEEDS-ACTION"));
    const std::string accepted = event(status("ACCEPTED"));
    const std::string leftToClient = alice(";PARTSTAT=ACCEPTED;SCHEDULE-AGENT=CLIENT");
    const std::string other = "ATTENDEE;PARTSTAT=ACCEPTED:mailto:carol@example.test\r\n";
    const Case cases[] = {
        {"an answer with the event", "", accepted, 5},
        {"perhaps", asked, event(status("TENTATIVE")), 6},
        {"no", asked, event(status("DECLINED")), 7},
        {"yes", asked, accepted, 5},
        {"yes instead of no", event(status("DECLINED")), accepted, 5},
        {"the same once more", accepted, accepted},
        {"without a status, as asked", asked, event(alice(""))},
        {"no attendees", "", event("")},
        {"no attendees any more", accepted, event("")},
        {"others only", asked, event(other)},
        {"the first line of hers holds", asked, event(status("DECLINED") + status("TENTATIVE")), 7},
        {"her own event", "", event(status("ACCEPTED"), "ALICE@example.test")},
        {"the client sends it", asked, event(leftToClient)},
        {"a client that never says so", asked, event(leftToClient), 5, kEmClient},
        {"its name in other letters", asked, event(leftToClient), 5, "EM CLIENT"},
        {"its name elsewhere", asked, event(leftToClient), 0, "The eM Client"},
        {"another calendar", asked, accepted, 0, "", kCalendar + "Work/"},
        {"by one who may write there", asked, accepted, 5, "", kCalendar, "carol@example.test"},
    };

    protocol::ModuleClient client;
    for (const char* name : {"alice", "bob", "carol"})
        client.set(std::string("account ") + name + "@example.test secret " + name);
    client.set("folder alice@example.test calendar Work");
    client.set("grant alice@example.test Calendar carol@example.test 511");
    client.set("setting Corvane.ini 'Public Folders' EnableSharedFolders 1");
    for (const Case& row : cases) {
        SCOPED_TRACE(row.what);
        const std::string url = row.folder + "meeting.ics";
        client.logIn("alice@example.test", "secret");
        client.setAgent("");
        client.call("DELETE", url);
        if (!row.before.empty()) client.call("PUT", url, row.before);
        client.logIn(row.actor, "secret");
        client.setAgent(row.agent);
        client.watch("CV_CalSendICalendarMessage");
        EXPECT_EQ(client.call("PUT", url, row.after).status, 204);
        EXPECT_EQ(client.seen(), row.reply == 0 ? ""
                                                : "0 0 " + row.actor + " bob@example.test " +
                                                      std::to_string(row.reply) + " \n");
    }
}

}  // namespace
