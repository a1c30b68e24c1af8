// What clients and the log are told when a store operation fails, and that nothing else changes.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/protocol/ModuleClient.h"
#include "tests/wire/WireLog.h"

namespace {

using Lines = std::vector<std::string>;

const std::string kUser = "alice@example.test";
const std::string kEvents = "/webdav/calendar/";
const std::string kTasks = "/webdav/tasklist/";
const std::string kContacts = "/webdav/addressbook/";
const std::string kPath = "{{=data}}\\Mail\\example.test\\alice\\";

const std::string kNames =
    R"( xmlns:D="DAV:" xmlns:C="urn:ietf:params:xml:ns:caldav" xmlns:A="urn:ietf:params:xml:ns:carddav")";
const std::string kProp = "<D:prop><D:getetag/><C:calendar-data/><A:address-data/></D:prop>";

std::string find(const std::string& prop = kProp) {
    return "<D:propfind" + kNames + ">" + prop + "</D:propfind>";
}
std::string multiget(const std::string& href) {
    return "<C:calendar-multiget" + kNames + ">" + kProp + "<D:href>" + href +
           "</D:href></C:calendar-multiget>";
}
std::string query(const std::string& root) {
    return "<" + root + kNames + ">" + kProp + "</" + root + ">";
}
std::string calendar(const std::string& items) {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Test//EN\r\n" + items + "END:VCALENDAR\r\n";
}
std::string event(const std::string& uid, const std::string& lines = {}) {
    return "BEGIN:VEVENT\r\nUID:" + uid +
           "\r\nDTSTAMP:20250101T000000Z\r\nDTSTART:20250110T090000Z\r\n" + lines +
           "END:VEVENT\r\n";
}
std::string task(const std::string& lines) {
    return "BEGIN:VTODO\r\nDTSTAMP:20250101T000000Z\r\n" + lines + "END:VTODO\r\n";
}
const std::string kOne = calendar(event("one"));
const std::string kNew = calendar(event("new"));
const std::string kMeeting =
    calendar(event("one", "ORGANIZER:mailto:bob@example.test\r\nATTENDEE:mailto:" + kUser +
                              "\r\nSUMMARY:Changed\r\n"));
const std::string kTask = calendar(task("UID:one\r\nSUMMARY:First\r\n"));
const std::string kNewTask = calendar(task("UID:new\r\n"));
const std::string kDoneOnce =
    calendar(task("UID:one\r\nDTSTART:20250106T080000Z\r\nRRULE:FREQ=WEEKLY\r\n") +
             task("UID:one\r\nRECURRENCE-ID:20250113T080000Z\r\nSTATUS:COMPLETED\r\n"));
const std::string kCard =
    "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:one\r\nFN:First\r\nN:;First\r\nEND:VCARD\r\n";
const std::string kChangedCard =
    "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:one\r\nFN:Changed\r\nN:;Changed\r\nEND:VCARD\r\n";
const std::string kFreeBusy =
    "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Test//EN\r\nMETHOD:REQUEST\r\nBEGIN:VFREEBUSY\r\n"
    "UID:ask\r\nDTSTAMP:20250101T000000Z\r\nDTSTART:20250110T000000Z\r\nDTEND:20250111T000000Z\r\n"
    "ORGANIZER:mailto:alice@example.test\r\nATTENDEE:mailto:bob@example.test\r\n"
    "ATTENDEE:mailto:alice@example.test\r\nEND:VFREEBUSY\r\nEND:VCALENDAR\r\n";

const std::string kBadRequest =
    "<quin:message>Your browser sent a request that this server could not understand.<";
const std::string kServerError = "\\Internal Server Error</quin:exception><quin:message>";
const std::string kNotFound = "\\Not Found</quin:exception><quin:message";
const std::string kItemFailed = "<D:status>HTTP/1.1 500 Internal Server Error<";
const std::string kItemMissing = "<D:status>HTTP/1.1 404 Not Found<";

struct Failing {
    const char* operation;
    int32_t result;
    uint32_t call = 1;
};

struct Case {
    std::vector<Failing> failing;
    std::string method;
    std::string url;
    std::string body;
    int status;
    std::string answer;  ///< stands in it
    Lines log;           ///< patterns; of the errors it is all but the line of the answer
    bool changes = false;
};

struct Listing {
    const char* operation;
    const char* method;
    std::string url;
    std::string body;
    const char* count;
    const char* failure;
    const char* secondFailure;
};

/// Every listing fails at its first call, or at the second after the first found no room.
std::vector<Case> listingCases() {
    const char* events = "Calendar database on server contains 1000 items";
    const char* tasks = "Task database on server contains 1000 items";
    const Listing listings[] = {
        {"CV_CalGetAllItemsEx", "PROPFIND", kEvents, find(), events, "CV_CalGetAllItemsEx",
         nullptr},
        {"CV_TaskGetAllItemsEx", "PROPFIND", kTasks, find(), tasks, "CV_TaskGetAllItems", nullptr},
        {"CV_ContactGetAllItemsEx", "PROPFIND", kContacts, find(),
         "Addressbook database on server contains 1000 items", "CV_ContactGetAllItemsEx", nullptr},
        {"CV_CalGetAllItemsEx", "REPORT", kEvents, multiget("one.ics"), events,
         "CV_CalGetAllItemsEx", nullptr},
        {"CV_TaskGetAllItemsEx", "REPORT", kTasks, multiget("one.ics"), tasks, "CV_TaskGetAllItems",
         nullptr},
        {"CV_ContactGetAllItemsEx", "REPORT", kContacts, multiget("one.vcf"),
         "Contact database on server contains 1000 items", "CV_ContactGetAllItemsEx", nullptr},
        {"CV_CalGetMultipleCalItemsEx", "REPORT", kEvents, query("C:calendar-query"), events,
         "CV_CalGetMultipleCalItemsEx", nullptr},
        {"CV_TaskGetAllItemsEx", "REPORT", kTasks, query("C:calendar-query"), tasks,
         "CV_TaskGetAllItemsEx", "CV_TaskGetMultipleCalItemsEx"},
        {"CV_ContactGetMultipleItemsEx", "REPORT", kContacts, query("A:addressbook-query"), events,
         "CV_ContactGetMultipleItemsEx", nullptr},
    };
    std::vector<Case> cases;
    for (const Listing& row : listings) {
        const std::string ending = " failed, error 23";
        const char* second = row.secondFailure == nullptr ? row.failure : row.secondFailure;
        cases.push_back({{{row.operation, 23}},
                         row.method,
                         row.url,
                         row.body,
                         400,
                         kBadRequest,
                         {"ERROR, " + (row.failure + ending)}});
        cases.push_back({{{row.operation, 10}, {row.operation, 23, 2}},
                         row.method,
                         row.url,
                         row.body,
                         400,
                         kBadRequest,
                         {"DEBUG, " + std::string(row.count), "ERROR, " + (second + ending)}});
        if (cases.back().method != "PROPFIND") continue;
        for (size_t i = cases.size() - 2; i < cases.size(); ++i)
            cases[i].log.push_back("DEBUG, PropFindResponse::execute failed");
    }
    return cases;
}

struct Conversion {
    const char* operation;
    std::string url;
    const char* root;
    const char* extension;
    const char* itemNumber;
};

/// An item that cannot be made a text keeps the others going.
std::vector<Case> conversionCases() {
    const Conversion conversions[] = {
        {"CV_CalItemToICalendarStringEx", kEvents, "C:calendar-query", ".ics", "1"},
        {"CV_TaskItemToICalendarString", kTasks, "C:calendar-query", ".ics", "1"},
        {"CV_ContactItemToVCardString", kContacts, "A:addressbook-query", ".vcf", "{{*}}"},
    };
    std::vector<Case> cases;
    for (const Conversion& row : conversions) {
        const Lines log = {std::string("ERROR, ") + row.operation + " failed [20] : [" + row.url +
                           ":" + row.itemNumber + "]"};
        const Failing failing{row.operation, 20};
        const std::string item = row.url + "one" + row.extension;
        cases.push_back({{failing}, "PROPFIND", row.url, find(), 207, kItemFailed, log});
        cases.push_back({{failing}, "REPORT", row.url, multiget(item), 207, kItemFailed, log});
        cases.push_back({{failing}, "REPORT", row.url, query(row.root), 207, kItemFailed, log});
    }
    return cases;
}

std::vector<Case> propFindCases() {
    const std::string home = "/webdav/caldav/example.test/alice/";
    const std::string contactHome = "/webdav/carddav/example.test/alice/";
    const std::string loose = kPath + "Loose.IMAP:d";
    return {
        {{{"CV_GetByEmail", -1}},
         "PROPFIND",
         home,
         find(),
         400,
         kBadRequest,
         {"ERROR, CV_GetByEmail() failed for " + kUser, "DEBUG, PropFindResponse::execute failed"}},
        {{{"CV_GetByEmail", -1}},
         "PROPFIND",
         contactHome,
         find(),
         400,
         kBadRequest,
         {"ERROR, CV_GetByEmail unable to find " + kUser,
          "DEBUG, PropFindResponse::execute failed"}},
        {{{"CV_GetIMAPFolderList", 0}}, "PROPFIND", home, find(), 207, "/b64=VGFza3M=/<", {}},
        {{{"CV_GetByEmail", -1}},
         "PROPFIND",
         "/webdav/principals/",
         find("<D:prop><D:displayname/></D:prop>"),
         207,
         kItemMissing,
         {}},
        {{{"CV_GetByEmail", -1}},
         "PROPFIND",
         kEvents,
         find(),
         500,
         "\\Error</quin:exception><quin:message>Unable to get Corvane user handle<",
         {}},
        // The task is answered under its new UID all the same.
        {{{"CV_TaskEditTaskItemEx", 22}},
         "PROPFIND",
         kTasks + "Loose/",
         find(),
         207,
         "<D:status>HTTP/1.1 200 OK<",
         {"DEBUG, Creating iCalUID for task: " + loose,
          "ERROR, CV_TaskEditTaskItemEx failed [22]{{*}}",
          "DEBUG, iCalUID [{{*}}] created for task: " + loose}},
        {{{"CV_CalGetIDFromiCalUid", 0}},
         "PROPFIND",
         kEvents + "one.ics",
         find(),
         207,
         kItemMissing,
         {}},
        {{{"CV_CalGetCalItemEx", 23}},
         "PROPFIND",
         kEvents + "one.ics",
         find(),
         207,
         kItemMissing,
         {}},
        {{{"CV_CalGetCalItemFromMsg", 23}},
         "REPORT",
         "/webdav/caldav-inbox/example.test/alice/",
         multiget("/x/1.ics"),
         207,
         kItemMissing,
         {"ERROR, CV_CalGetCalItemFromMsg failed [23] : [" + kPath + "1.ics]"}},
    };
}

std::vector<Case> getCases() {
    const std::string event = kEvents + "one.ics";
    const std::string task = kTasks + "one.ics";
    const std::string contact = kContacts + "one.vcf";
    const std::string inEvents = " failed : [" + kPath + "Calendar.IMAP] ";
    const std::string inTasks = " failed : [" + kPath + "Tasks.IMAP] ";
    const std::string inContacts = " failed : [" + kPath + "Contacts.IMAP] ";
    const std::string noText = kServerError + "Unable to generate response<";
    return {
        {{{"CV_CalFolderToICalendarString", 0}},
         "GET",
         kEvents + "calendar.ICS",
         "",
         404,
         kNotFound,
         {"ERROR, CV_CalFolderToICalendarString" + inEvents + "[0]"}},
        {{{"CV_CalGetIDFromiCalUid", 0}},
         "GET",
         event,
         "",
         404,
         kNotFound,
         {"ERROR, CV_CalGetIDFromiCalUid" + inEvents + "[one]"}},
        {{{"CV_CalGetCalItemEx", 23}},
         "GET",
         event,
         "",
         404,
         kNotFound,
         {"ERROR, CV_CalGetCalItemEx" + inEvents + "[1] [23]"}},
        {{{"CV_CalItemToICalendarStringEx", 20}},
         "GET",
         event,
         "",
         404,
         kNotFound,
         {"ERROR, CV_CalItemToICalendarStringEx" + inEvents + "[1] [20]"}},
        {{{"CV_TaskGetIDFromiCalUid", 0}},
         "GET",
         task,
         "",
         404,
         kNotFound,
         {"ERROR, CV_TaskGetIDFromiCalUid" + inTasks + "[one]"}},
        {{{"CV_TaskGetTaskItemEx", 23}},
         "GET",
         task,
         "",
         404,
         kNotFound,
         {"ERROR, CV_TaskGetTaskItemEx" + inTasks + "[1] [23]"}},
        {{{"CV_TaskItemToICalendarString", 20}},
         "GET",
         task,
         "",
         404,
         kNotFound,
         {"ERROR, CV_TaskItemToICalendarString" + inTasks + "[1] [20]"}},
        {{{"CV_ContactGetIDFromvCardUid", 0}},
         "GET",
         contact,
         "",
         404,
         kNotFound,
         {"ERROR, CV_ContactGetIDFromvCardUid" + inContacts + "[one]"}},
        {{{"CV_ContactGetItemEx", 23}},
         "GET",
         contact,
         "",
         404,
         kNotFound,
         {"ERROR, CV_ContactGetItemEx" + inContacts + "[one] [23]"}},
        {{{"CV_ContactItemToVCardString", 20}},
         "GET",
         contact,
         "",
         404,
         kNotFound,
         {"ERROR, CV_ContactItemToVCardString" + inContacts + "[one] [20]"}},
        {{{"CV_CalFolderToICalendarString", 1}},
         "GET",
         kEvents + "calendar.ics",
         "",
         500,
         noText,
         {}},
        {{{"CV_CalItemToICalendarStringEx", 0}}, "GET", event, "", 500, noText, {}},
        {{{"CV_TaskItemToICalendarString", 0}}, "GET", task, "", 500, noText, {}},
        {{{"CV_ContactItemToVCardString", 0}}, "GET", contact, "", 500, noText, {}},
    };
}

std::vector<Case> putCases() {
    const std::string event = kEvents + "one.ics";
    const std::string task = kTasks + "one.ics";
    const std::string contact = kContacts + "one.vcf";
    const std::string newContact = kContacts + "new.vcf";
    const std::string inEvents = " : [" + kPath + "Calendar.IMAP:";
    const std::string inTasks = " : [" + kPath + "Tasks.IMAP:";
    const std::string inContacts = " : [" + kPath + "Contacts.IMAP:";
    const std::string editEvent = kServerError + "Unable to edit calendar item<";
    const std::string editTask = kServerError + "Unable to edit task item<";
    const std::string create = kServerError + "Unable to create calendar item<";
    return {
        {{{"CV_CalImportCalItemsFromICalFile", 23, 2}},
         "PUT",
         kEvents + "two.ics",
         calendar(::event("two") + ::event("three")),
         500,
         kServerError + "Unable to save iCalendar data<",
         {"ERROR, CV_CalImportCalItemsFromICalFile failed [23] : [" + kPath + "Calendar.IMAP]"}},
        {{{"CV_CalReadFromICalendarString", 20}}, "PUT", kEvents + "new.ics", kNew, 204, "", {}},
        {{{"CV_CalWriteCalItem", 23}},
         "PUT",
         kEvents + "new.ics",
         kNew,
         500,
         create,
         {"ERROR, CV_CalWriteCalItem failed [23]" + inEvents + "0]"}},
        {{{"CV_CalGetCalItemEx", 23}},
         "PUT",
         event,
         kMeeting,
         500,
         editEvent,
         {"ERROR, CV_CalGetCalItemEx failed [23]" + inEvents + "1]"}},
        {{{"CV_CalEditCalItem", 22}},
         "PUT",
         event,
         kMeeting,
         500,
         editEvent,
         {"ERROR, CV_CalEditCalItem failed [22]" + inEvents + "1]"}},
        {{{"CV_CalSetRelatedDAVData", 23}},
         "PUT",
         event,
         kMeeting,
         500,
         kServerError + "Unable to save iCalendar data for calendar item<",
         {"ERROR, CV_CalSetRelatedDAVData failed [23]" + inEvents + "1]"},
         true},
        {{{"CV_TaskReadFromICalendarString", 20}},
         "PUT",
         task,
         kTask,
         500,
         kServerError + "Unable to parse iCalendar data<",
         {"ERROR, CV_TaskReadFromICalendarString failed [20]"}},
        {{{"CV_TaskWriteTaskItemEx", 23}},
         "PUT",
         kTasks + "new.ics",
         kNewTask,
         500,
         create,
         {"ERROR, CV_TaskWriteTaskItemEx failed [23]" + inTasks + "0]"}},
        {{{"CV_TaskEditTaskItemEx", 23}},
         "PUT",
         task,
         kTask,
         500,
         editTask,
         {"ERROR, CV_TaskEditTaskItem failed [23]" + inTasks + "1]"}},
        {{{"CV_TaskEditTaskItemEx", 23, 2}},
         "PUT",
         task,
         kDoneOnce,
         500,
         editTask,
         {"ERROR, CV_TaskEditTaskItem failed [23]" + inTasks + "1]"},
         true},
        {{{"CV_TaskSetRelatedDAVData", 23}},
         "PUT",
         task,
         kTask,
         500,
         kServerError + "Unable to save iCalendar data for task item<",
         {"ERROR, CV_TaskSetRelatedDAVData failed [23]" + inTasks + "1]"},
         true},
        {{{"CV_ContactReadFromVCardString", 20}},
         "PUT",
         contact,
         kChangedCard,
         500,
         kServerError + "Unable to parse vCard data<",
         {"ERROR, CV_ContactReadFromVCardString failed [20]"}},
        {{{"CV_ContactWriteItemEx", 23}},
         "PUT",
         newContact,
         kChangedCard,
         500,
         kServerError + "Unable to create contact item<",
         {"DEBUG, Existing contact not found: vCardUID = new",
          "ERROR, CV_ContactWriteItemEx failed [23]" + inContacts + "]"}},
        {{{"CV_ContactEditItem", 23}},
         "PUT",
         contact,
         kChangedCard,
         500,
         kServerError + "Unable to edit contact item<",
         {"DEBUG, Updating existing contact: vCardUID = one - GUID = {{guid=*}}",
          "ERROR, CV_ContactEditItem failed [23]" + inContacts + "{{=guid}}]"}},
        {{{"CV_ContactSetRelatedDAVData", 23}},
         "PUT",
         contact,
         kChangedCard,
         500,
         kServerError + "Unable to save vCard data for contact item<",
         {"DEBUG, Contact updated: vCardUID = one - GUID = {{=guid}}",
          "ERROR, CV_ContactSetRelatedDAVData failed [23]" + inContacts + "{{=guid}}]"},
         true},
    };
}

std::vector<Case> deleteCases() {
    struct Kind {
        const char* find;
        const char* remove;
        std::string item;
        std::string unknown;
        std::string failed;
        std::string answer;
    };
    const std::string inEvents = " item [" + kPath + "Calendar.IMAP:one] - ";
    const std::string inTasks = "Unable to delete task item [" + kPath + "Tasks.IMAP:one] - ";
    const std::string inContacts = " item [" + kPath + "Contacts.IMAP:";
    const Kind kinds[] = {
        {"CV_CalGetIDFromiCalUid", "CV_CalDeleteCalItem", kEvents + "one.ics",
         "Unable to delete Calendar" + inEvents + "CV_CalGetIDFromiCalUid could not find item",
         "Unable to delete calendar" + inEvents + "CV_CalDeleteCalItem failed [22]",
         "Unable to delete calendar item"},
        {"CV_TaskGetIDFromiCalUid", "CV_TaskDeleteTaskItem", kTasks + "one.ics",
         inTasks + "CV_TaskGetIDFromiCalUid could not find item",
         inTasks + "CV_TaskDeleteCalItem failed [22]", "Unable to delete task item"},
        {"CV_ContactGetIDFromvCardUid", "CV_ContactDeleteItem", kContacts + "one.vcf",
         "Unable to delete Calendar" + inContacts +
             "one] - CV_ContactGetIDFromvCardUid could not find item",
         "Unable to delete contact" + inContacts + "{{=guid}}] - CV_ContactDeleteItem failed [22]",
         "Unable to delete contact item"},
    };
    std::vector<Case> cases;
    for (const Kind& kind : kinds) {
        cases.push_back({{{kind.find, 0}},
                         "DELETE",
                         kind.item,
                         "",
                         404,
                         kNotFound,
                         {"ERROR, " + kind.unknown}});
        cases.push_back(
            {{{kind.remove, 22}},
             "DELETE",
             kind.item,
             "",
             500,
             "\\QUIN\\DAV\\Exception</quin:exception><quin:message>" + kind.answer + "<",
             {"ERROR, " + kind.failed}});
    }
    return cases;
}

std::vector<Case> freeBusyCases() {
    const std::string outbox = "/webdav/caldav-outbox/example.test/alice/";
    const char* ask = "CV_CalProcessICalFBRequest";
    const std::string invalid = ":request-status>3.7;Invalid calendar user<";
    const std::string broken = ":request-status>5.1;Server error<";
    const std::string none = "INFO, Unable to return Busy time information for [bob@example.test] ";
    const std::string other = "INFO, Busy time information returned for [alice@example.test]";
    return {
        {{{ask, 20}},
         "POST",
         outbox,
         kFreeBusy,
         400,
         kBadRequest,
         {"DEBUG, CV_CalProcessICalFBRequest failed [20]",
          "ERROR, Unable to query free busy information - Unable to get attendee list"}},
        {{{ask, 11, 2}},
         "POST",
         outbox,
         kFreeBusy,
         200,
         invalid,
         {none + "[Not a local user]", other}},
        {{{ask, 101, 2}},
         "POST",
         outbox,
         kFreeBusy,
         200,
         invalid,
         {none + "[Not publishing busy time information]", other}},
        {{{ask, 23, 2}}, "POST", outbox, kFreeBusy, 200, broken, {none + "[23]", other}},
        {{{ask, 0, 2}}, "POST", outbox, kFreeBusy, 200, broken, {none + "[0]", other}},
    };
}

bool isError(const std::string& line) {
    return line.starts_with("ERROR, ");
}

class Failures : public testing::Test {
  protected:
    Failures() {
        client_.set("account alice@example.test secret Alice");
        client_.set("account bob@example.test secret Bob");
        client_.set("folder alice@example.test tasks Loose");
        client_.set("item alice@example.test Calendar", kOne);
        client_.set("item alice@example.test Tasks", kTask);
        client_.set("item alice@example.test Contacts", kCard);
        client_.set("item alice@example.test Loose", calendar(task("SUMMARY:Nameless\r\n")));
        client_.logIn(kUser, "secret");
    }

    protocol::Answer call(const std::string& method, const std::string& url,
                          const std::string& body) {
        ++calls_;
        return client_.call(method, url, body);
    }

    std::string everything() {
        return call("REPORT", kEvents, query("C:calendar-query")).body +
               call("REPORT", kTasks, query("C:calendar-query")).body +
               call("REPORT", kTasks + "Loose/", query("C:calendar-query")).body +
               call("REPORT", kContacts, query("A:addressbook-query")).body;
    }

    protocol::ModuleClient client_;
    size_t calls_ = 0;
};

TEST_F(Failures, AreToldAndChangeNothing) {
    std::vector<Case> cases;
    for (const auto& part : {listingCases(), conversionCases(), propFindCases(), getCases(),
                             putCases(), deleteCases(), freeBusyCases()})
        cases.insert(cases.end(), part.begin(), part.end());

    std::vector<size_t> numbers;
    for (const Case& row : cases) {
        SCOPED_TRACE(row.method + " " + row.url + ", failing " + row.failing.back().operation);
        const std::string before = everything();
        for (const Failing& failing : row.failing)
            client_.fail(failing.operation, failing.result, failing.call);
        numbers.push_back(calls_);
        const protocol::Answer answer = call(row.method, row.url, row.body);
        EXPECT_EQ(client_.forgetFailures(), 0U) << "calls that should have come";
        EXPECT_EQ(answer.status, row.status);
        EXPECT_NE(answer.body.find(row.answer), std::string::npos) << answer.body;
        EXPECT_EQ(everything() != before, row.changes);
    }

    wire::Captures captures{{"data", client_.store().directory()}};
    const std::vector<Lines> log = client_.endAndReadLog();
    for (size_t i = 0; i < cases.size(); ++i) {
        const Case& row = cases[i];
        SCOPED_TRACE(row.method + " " + row.url + ", failing " + row.failing.back().operation);
        const Lines& lines = log.at(numbers[i]);
        const auto missing = wire::firstMissing(row.log, lines, captures);
        EXPECT_EQ(missing.value_or("nothing"), "nothing") << testing::PrintToString(lines);
        EXPECT_EQ(std::ranges::count_if(lines, isError),
                  std::ranges::count_if(row.log, isError) + (row.status >= 400 ? 1 : 0))
            << testing::PrintToString(lines);
    }
}

}  // namespace
