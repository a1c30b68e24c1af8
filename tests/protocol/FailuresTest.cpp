// What clients and the log are told when a store operation fails, and that nothing else changes.
#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "abi/StoreTypes.h"
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
const std::string kProp =
    "<D:prop><D:getetag/><D:displayname/><C:calendar-data/><A:address-data/></D:prop>";

std::string find() {
    return "<D:propfind" + kNames + ">" + kProp + "</D:propfind>";
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
const std::string kTwo = calendar(event("two") + event("three"));
const std::string kMeeting =
    calendar(event("one", "ORGANIZER:mailto:bob@example.test\r\nATTENDEE:mailto:" + kUser +
                              "\r\nSUMMARY:Changed\r\n"));
const std::string kTask = calendar(task("UID:one\r\nSUMMARY:First\r\n"));
const std::string kNewTask = calendar(task("UID:new\r\n"));
const std::string kDoneOnce =
    calendar(task("UID:one\r\nDTSTART:20250106T080000Z\r\nRRULE:FREQ=WEEKLY\r\n") +
             task("UID:one\r\nRECURRENCE-ID:20250113T080000Z\r\nSTATUS:COMPLETED\r\n"));
std::string card(const std::string& uid) {
    return "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:" + uid + "\r\nFN:First\r\nN:;First\r\nEND:VCARD\r\n";
}
const std::string kCard = card("one");
const std::string kChangedCard =
    "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:one\r\nFN:Changed\r\nN:;Changed\r\nEND:VCARD\r\n";
const std::string kFreeBusy =
    "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Test//EN\r\nMETHOD:REQUEST\r\nBEGIN:VFREEBUSY\r\n"
    "UID:ask\r\nDTSTAMP:20250101T000000Z\r\nDTSTART:20250110T000000Z\r\nDTEND:20250111T000000Z\r\n"
    "ORGANIZER:mailto:alice@example.test\r\nATTENDEE:mailto:bob@example.test\r\n"
    "ATTENDEE:mailto:alice@example.test\r\nEND:VFREEBUSY\r\nEND:VCALENDAR\r\n";

const std::string kBadRequest =
    "<quin:message>Your browser sent a request that this server could not understand.<";
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
    Lines log = {};      ///< patterns; of the errors it is all but the line of the answer
    bool changes = false;
};
std::vector<Case> cases;

void add(std::vector<Failing> failing, const char* method, const std::string& url,
         const std::string& body, int status, const std::string& answer, Lines log = {},
         bool changes = false) {
    cases.push_back(
        {std::move(failing), method, url, body, status, answer, std::move(log), changes});
}

/// Every listing fails at its first call, or at the second after the first found no room.
void addListingCases() {
    const char* listEvents = "CV_CalGetAllItemsEx";
    const char* listTasks = "CV_TaskGetAllItemsEx";
    const char* listContacts = "CV_ContactGetAllItemsEx";
    const char* queryEvents = "CV_CalGetMultipleCalItemsEx";
    const char* queryContacts = "CV_ContactGetMultipleItemsEx";
    const char* tasksFailed = "CV_TaskGetAllItems";
    const std::string fetch = multiget("one.ics");
    const std::string ask = query("C:calendar-query");
    const std::string askCards = query("A:addressbook-query");
    const std::tuple<const char*, const char*, std::string, std::string, const char*, const char*>
        listings[] = {
            {listEvents, "PROPFIND", kEvents, find(), "Calendar", listEvents},
            {listTasks, "PROPFIND", kTasks, find(), "Task", tasksFailed},
            {listContacts, "PROPFIND", kContacts, find(), "Addressbook", listContacts},
            {listEvents, "REPORT", kEvents, fetch, "Calendar", listEvents},
            {listTasks, "REPORT", kTasks, fetch, "Task", tasksFailed},
            {listContacts, "REPORT", kContacts, fetch, "Contact", listContacts},
            {queryEvents, "REPORT", kEvents, ask, "Calendar", queryEvents},
            {listTasks, "REPORT", kTasks, ask, "Task", listTasks},
            {queryContacts, "REPORT", kContacts, askCards, "Calendar", queryContacts},
        };
    for (const auto& [operation, method, url, body, counted, failed] : listings) {
        const bool taskQuery = url == kTasks && body == ask;
        const std::string second = taskQuery ? "CV_TaskGetMultipleCalItemsEx" : failed;
        const std::string count = std::string("DEBUG, ") + counted;
        add({{operation, 23}}, method, url, body, 400, kBadRequest,
            {"ERROR, " + (failed + std::string(" failed, error 23"))});
        add({{operation, STORE_MORE_ROOM}, {operation, 23, 2}}, method, url, body, 400, kBadRequest,
            {count + " database on server contains 1000 items",
             "ERROR, " + second + " failed, error 23"});
    }
}

/// What cannot be looked up in a large folder is listed with all the others.
void addLookUpCases() {
    const std::tuple<const char*, const char*, const char*, std::string, const char*> kinds[] = {
        {"CV_CalGetIDFromiCalUid", "CV_CalGetCalItemEx", "CV_CalGetAllItemsEx",
         kEvents + "Many-calendar/", "CV_CalGetAllItemsEx"},
        {"CV_TaskGetIDFromiCalUid", "CV_TaskGetTaskItemEx", "CV_TaskGetAllItemsEx",
         kTasks + "Many-tasks/", "CV_TaskGetAllItems"},
        {"CV_ContactGetIDFromvCardUid", "CV_ContactGetItemEx", "CV_ContactGetAllItemsEx",
         kContacts + "Many-contacts/", "CV_ContactGetAllItemsEx"},
    };
    for (const auto& [find, get, list, folder, failed] : kinds) {
        const std::string fetch = multiget("u7.x");
        const std::string found = "<D:status>HTTP/1.1 200 OK<";
        const Lines log = {std::string("ERROR, ") + failed + " failed, error 23"};
        add({{find, 0}}, "REPORT", folder, fetch, 207, found);
        add({{get, 23}}, "REPORT", folder, fetch, 207, found);
        add({{get, 23}, {list, 23, 2}}, "REPORT", folder, fetch, 400, kBadRequest, log);
    }
}

/// An item that cannot be made a text keeps the others going.
void addConversionCases() {
    const std::tuple<const char*, std::string, const char*, const char*, const char*>
        conversions[] = {
            {"CV_CalItemToICalendarStringEx", kEvents, "C:calendar-query", ".ics", "1"},
            {"CV_TaskItemToICalendarString", kTasks, "C:calendar-query", ".ics", "1"},
            {"CV_ContactItemToVCardString", kContacts, "A:addressbook-query", ".vcf", "{{*}}"},
        };
    for (const auto& [operation, url, root, extension, number] : conversions) {
        const Lines log = {std::string("ERROR, ") + operation + " failed [20] : [" + url + ":" +
                           number + "]"};
        const Failing failing{operation, 20};
        const std::string item = multiget(url + "one" + extension);
        add({failing}, "PROPFIND", url, find(), 207, kItemFailed, log);
        add({failing}, "REPORT", url, item, 207, kItemFailed, log);
        add({failing}, "REPORT", url, query(root), 207, kItemFailed, log);
    }
}

void addPropFindCases() {
    const std::string loose = kPath + "Loose.IMAP:d";
    const std::string notExecuted = "DEBUG, PropFindResponse::execute failed";
    const auto fails = [](Failing failing, const std::string& url, int status,
                          const std::string& answer, Lines log = {}) {
        add({failing}, "PROPFIND", url, find(), status, answer, std::move(log));
    };
    const Failing noAccount{"CV_GetByEmail", -1};
    const std::string home = "/webdav/caldav/example.test/alice/";
    fails(noAccount, home, 400, kBadRequest,
          {"ERROR, CV_GetByEmail() failed for " + kUser, notExecuted});
    fails(noAccount, "/webdav/carddav/example.test/alice/", 400, kBadRequest,
          {"ERROR, CV_GetByEmail unable to find " + kUser, notExecuted});
    fails(noAccount, "/webdav/principals/", 207, kItemMissing);
    fails(noAccount, kEvents, 500, ">Unable to get Corvane user handle<");
    fails({"CV_GetIMAPFolderList", 0}, home, 207, "/b64=VGFza3M=/<");
    fails({"CV_CalGetIDFromiCalUid", 0}, kEvents + "one.ics", 207, kItemMissing);
    fails({"CV_CalGetCalItemEx", 23}, kEvents + "one.ics", 207, kItemMissing);
    // The task is answered under its new UID all the same.
    fails({"CV_TaskEditTaskItemEx", 22}, kTasks + "Loose/", 207, "<D:status>HTTP/1.1 200 OK<",
          {"DEBUG, Creating iCalUID for task: " + loose,
           "ERROR, CV_TaskEditTaskItemEx failed [22]{{*}}",
           "DEBUG, iCalUID [{{*}}] created for task: " + loose});
    add({{"CV_CalGetCalItemFromMsg", 23}}, "REPORT", "/webdav/caldav-inbox/example.test/alice/",
        multiget("/x/1.ics"), 207, kItemMissing,
        {"ERROR, CV_CalGetCalItemFromMsg failed [23] : [" + kPath + "1.ics]"});
}

/// What is logged behind the folder is empty when the operation gave nothing but no error.
void addGetCases() {
    const std::string event = kEvents + "one.ics";
    const std::string task = kTasks + "one.ics";
    const std::string contact = kContacts + "one.vcf";
    const std::tuple<const char*, int32_t, std::string, const char*, std::string> fetchings[] = {
        {"CV_CalFolderToICalendarString", 0, kEvents + "calendar.ICS", "Calendar", "[0]"},
        {"CV_CalGetIDFromiCalUid", 0, event, "Calendar", "[one]"},
        {"CV_CalGetCalItemEx", 23, event, "Calendar", "[1] [23]"},
        {"CV_CalItemToICalendarStringEx", 20, event, "Calendar", "[1] [20]"},
        {"CV_TaskGetIDFromiCalUid", 0, task, "Tasks", "[one]"},
        {"CV_TaskGetTaskItemEx", 23, task, "Tasks", "[1] [23]"},
        {"CV_TaskItemToICalendarString", 20, task, "Tasks", "[1] [20]"},
        {"CV_ContactGetIDFromvCardUid", 0, contact, "Contacts", "[one]"},
        {"CV_ContactGetItemEx", 23, contact, "Contacts", "[one] [23]"},
        {"CV_ContactItemToVCardString", 20, contact, "Contacts", "[one] [20]"},
        {"CV_CalFolderToICalendarString", 1, kEvents + "calendar.ics", "Calendar", ""},
        {"CV_CalItemToICalendarStringEx", 0, event, "Calendar", ""},
        {"CV_TaskItemToICalendarString", 0, task, "Tasks", ""},
        {"CV_ContactItemToVCardString", 0, contact, "Contacts", ""},
    };
    for (const auto& [operation, result, url, folder, logged] : fetchings) {
        const std::string error =
            std::string("ERROR, ") + operation + " failed : [" + kPath + folder + ".IMAP] ";
        const bool empty = logged.empty();
        add({{operation, result}}, "GET", url, "", empty ? 500 : 404,
            empty ? ">Unable to generate response<" : kNotFound,
            empty ? Lines() : Lines{error + logged});
    }
}

struct Storing {
    const char* operation;
    uint32_t call;
    std::string url;
    std::string body;
    std::string item;  ///< as the log names it; empty when it does not
    std::string detail;
    bool changes = false;
    const char* logged = nullptr;  ///< the name in the log where it is another
};

void addPutCases() {
    const std::string event = kEvents + "one.ics";
    const std::string task = kTasks + "one.ics";
    const std::string contact = kContacts + "one.vcf";
    const std::string ofEvent = " : [" + kPath + "Calendar.IMAP:1]";
    const std::string ofTask = " : [" + kPath + "Tasks.IMAP:1]";
    const std::string inContacts = " : [" + kPath + "Contacts.IMAP:";
    const std::string create = "Unable to create calendar item";
    const std::string editEvent = "Unable to edit calendar item";
    const std::string editTask = "Unable to edit task item";
    const std::string keepText = "Unable to save iCalendar data for ";
    const char* editLogged = "CV_TaskEditTaskItem";
    const Storing storings[] = {
        {"CV_CalImportCalItemsFromICalFile", 2, event, kTwo, " : [" + kPath + "Calendar.IMAP]",
         "Unable to save iCalendar data"},
        {"CV_CalWriteCalItem", 1, event, kNew, " : [" + kPath + "Calendar.IMAP:0]", create},
        {"CV_CalGetCalItemEx", 1, event, kMeeting, ofEvent, editEvent},
        {"CV_CalEditCalItem", 1, event, kMeeting, ofEvent, editEvent},
        {"CV_CalSetRelatedDAVData", 1, event, kMeeting, ofEvent, keepText + "calendar item", true},
        {"CV_TaskReadFromICalendarString", 1, task, kTask, "", "Unable to parse iCalendar data"},
        {"CV_TaskWriteTaskItemEx", 1, task, kNewTask, " : [" + kPath + "Tasks.IMAP:0]", create},
        {"CV_TaskEditTaskItemEx", 1, task, kTask, ofTask, editTask, false, editLogged},
        {"CV_TaskEditTaskItemEx", 2, task, kDoneOnce, ofTask, editTask, true, editLogged},
        {"CV_TaskSetRelatedDAVData", 1, task, kTask, ofTask, keepText + "task item", true},
        {"CV_ContactReadFromVCardString", 1, contact, kChangedCard, "",
         "Unable to parse vCard data"},
        {"CV_ContactWriteItemEx", 1, kContacts + "new.vcf", kChangedCard, inContacts + "]",
         "Unable to create contact item"},
        {"CV_ContactEditItem", 1, contact, kChangedCard, inContacts + "{{guid=*}}]",
         "Unable to edit contact item"},
        {"CV_ContactSetRelatedDAVData", 1, contact, kChangedCard, inContacts + "{{=guid}}]",
         "Unable to save vCard data for contact item", true},
    };
    // What cannot be read as an event is accepted, without a word in the log.
    add({{"CV_CalReadFromICalendarString", 20}}, "PUT", event, kMeeting, 204, "");
    for (const Storing& row : storings) {
        const std::string logged = row.logged == nullptr ? row.operation : row.logged;
        add({{row.operation, 23, row.call}}, "PUT", row.url, row.body, 500, ">" + row.detail + "<",
            {"ERROR, " + logged + " failed [23]" + row.item}, row.changes);
    }
}

/// The detail is that of a failure; it is empty when there is no such item.
void addDeleteCases() {
    const std::string unable = "ERROR, Unable to delete ";
    const std::string event = " item [" + kPath + "Calendar.IMAP:one] - ";
    const std::string task = "task item [" + kPath + "Tasks.IMAP:one] - ";
    const std::string contact = " item [" + kPath + "Contacts.IMAP:";
    const std::string unknown = " could not find item";
    const std::tuple<const char*, int32_t, std::string, std::string, std::string> deletings[] = {
        {"CV_CalGetIDFromiCalUid", 0, kEvents + "one.ics",
         "Calendar" + event + "CV_CalGetIDFromiCalUid" + unknown, ""},
        {"CV_CalDeleteCalItem", 22, kEvents + "one.ics",
         "calendar" + event + "CV_CalDeleteCalItem failed [22]", "Unable to delete calendar item"},
        {"CV_TaskGetIDFromiCalUid", 0, kTasks + "one.ics",
         task + "CV_TaskGetIDFromiCalUid" + unknown, ""},
        {"CV_TaskDeleteTaskItem", 22, kTasks + "one.ics", task + "CV_TaskDeleteCalItem failed [22]",
         "Unable to delete task item"},
        {"CV_ContactGetIDFromvCardUid", 0, kContacts + "one.vcf",
         "Calendar" + contact + "one] - CV_ContactGetIDFromvCardUid" + unknown, ""},
        {"CV_ContactDeleteItem", 22, kContacts + "one.vcf",
         "contact" + contact + "{{=guid}}] - CV_ContactDeleteItem failed [22]",
         "Unable to delete contact item"},
    };
    const std::string exception = "\\QUIN\\DAV\\Exception</quin:exception><quin:message>";
    for (const auto& [operation, result, url, logged, detail] : deletings)
        add({{operation, result}}, "DELETE", url, "", detail.empty() ? 404 : 500,
            detail.empty() ? kNotFound : exception + detail + "<", {unable + logged});
}

/// Busy time of bob, of whom the second call asks, and of alice.
void addFreeBusyCases() {
    const auto fails = [](int32_t result, uint32_t call, int status, const std::string& answer,
                          const Lines& log) {
        add({{"CV_CalProcessICalFBRequest", result, call}}, "POST",
            "/webdav/caldav-outbox/example.test/alice/", kFreeBusy, status, answer, log);
    };
    const std::string broken = ":request-status>5.1;Server error<";
    const std::string none = "INFO, Unable to return Busy time information for [bob@example.test] ";
    const std::string other = "INFO, Busy time information returned for [alice@example.test]";
    fails(20, 1, 400, kBadRequest,
          {"DEBUG, CV_CalProcessICalFBRequest failed [20]",
           "ERROR, Unable to query free busy information - Unable to get attendee list"});
    for (const int result : {23, 0}) {
        fails(result, 2, 200, broken, {none + "[" + std::to_string(result) + "]", other});
    }
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
        for (const char* kind : {"calendar", "tasks", "contacts"}) addMany(kind);
        client_.set("item alice@example.test Calendar", kOne);
        client_.set("item alice@example.test Tasks", kTask);
        client_.set("item alice@example.test Contacts", kCard);
        client_.set("item alice@example.test Loose", calendar(task("SUMMARY:Nameless\r\n")));
        client_.logIn(kUser, "secret");
    }

    /// So many that few of them are looked up.
    void addMany(const std::string& kind) {
        std::string items;
        for (int i = 1; i <= 2001; ++i) {
            const std::string uid = "u" + std::to_string(i);
            items += kind == "calendar" ? event(uid)
                     : kind == "tasks"  ? task("UID:" + uid + "\r\n")
                                        : card(uid);
        }
        client_.set("folder alice@example.test " + kind + " Many-" + kind);
        client_.set("item alice@example.test Many-" + kind,
                    kind == "contacts" ? items : calendar(items));
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
    for (const auto addAll : {addListingCases, addLookUpCases, addConversionCases, addPropFindCases,
                              addGetCases, addPutCases, addDeleteCases, addFreeBusyCases})
        addAll();

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
