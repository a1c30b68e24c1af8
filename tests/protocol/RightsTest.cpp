// Who may do what where: every acting user on every folder by every path and with every method, the
// expected answer computed from the rules below.
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/protocol/ModuleClient.h"
#include "webdav/base/Text.h"

namespace {

constexpr uint32_t kRead = 2;
constexpr uint32_t kWrite = 8;
constexpr uint32_t kInsert = 16;
constexpr uint32_t kDelete = 128;
constexpr uint32_t kAll = 511;

struct Kind {
    const char* folderKind;
    const char* home;  ///< keywords of the paths that lead there
    const char* own;
    const char* ofUser;
    const char* ofPublic;
    const char* extension;
    bool isCalendar;
};

const Kind kKinds[] = {
    {"calendar", "caldav", "calendar", "calendars", "public-calendars", ".ics", true},
    {"tasks", "caldav", "tasklist", "tasks", "public-tasks", ".ics", false},
    {"contacts", "carddav", "addressbook", "contacts", "public-contacts", ".vcf", false},
};

enum class Credentials { kPassword, kToken, kWrongToken, kNone };

struct Actor {
    std::string mailbox;
    std::string domain;
    Credentials credentials;
    uint32_t grant;  ///< in alice's folder and in the public one

    std::string address() const { return mailbox + "@" + domain; }
};

std::vector<Actor> actors() {
    std::vector<Actor> all = {
        {"alice", "example.test", Credentials::kPassword, 0},
        {"alice", "example.test", Credentials::kToken, 0},
        {"alice", "example.test", Credentials::kWrongToken, 0},
        {"alice", "example.test", Credentials::kNone, 0},
        {"far", "other.test", Credentials::kPassword, 0},
        {"farall", "other.test", Credentials::kPassword, kAll},
    };
    for (const uint32_t mask :
         {0U, kRead, kWrite, kInsert, kDelete, kAll, kWrite | kDelete, kWrite | kInsert,
          kWrite | kInsert | kDelete, kRead | kWrite, kAll & ~kRead, kAll & ~kDelete})
        all.push_back({"m" + std::to_string(mask), "example.test", Credentials::kPassword, mask});
    return all;
}

/// The ways to a folder: alice's "Work", or the public one of that name.
enum class Way { kOwn, kDirect, kOfUser, kShared, kPublic, kOfPublic };
constexpr Way kWays[] = {Way::kOwn,    Way::kDirect, Way::kOfUser,
                         Way::kShared, Way::kPublic, Way::kOfPublic};

struct Settings {
    bool shared = false;
    bool open = false;  ///< public folders
};

bool isPublic(Way way) {
    return way == Way::kPublic || way == Way::kOfPublic;
}

std::string folderName(const Kind& kind) {
    return std::string("Work-") + kind.folderKind;
}

std::string pathOf(Way way, const Kind& kind, const Actor& actor) {
    const std::string name = folderName(kind);
    const auto inHome = [&](const std::string& user, const std::string& folder) {
        return std::string(kind.home) + "/" + user + "/b64=" + webdav::Base64Encode(folder);
    };
    const std::string own = actor.domain + "/" + actor.mailbox;
    const std::string paths[] = {kind.own + ("/" + name),
                                 inHome("example.test/alice", name),
                                 kind.ofUser + ("/example.test/alice/" + name),
                                 inHome(own, "~shared/example.test/alice/" + name),
                                 inHome(own, "~public/" + name),
                                 kind.ofPublic + ("/" + name)};
    return "/webdav/" + paths[static_cast<size_t>(way)] + "/";
}

/// What is asked of a folder, and the rule for it.
struct Row {
    const char* method;
    const char* name;  ///< behind the folder's path, without its extension
    const char* body;  ///< a report's kind, or the UIDs of what is put
    uint32_t needs;
    int granted;              ///< in a calendar
    int elsewhere = granted;  ///< 0 for what is asked of calendars alone
    const char* depth = "1";
};

constexpr Row kRows[] = {
    {"OPTIONS", "", "", 0, 200},
    {"PROPFIND", "", "", kRead, 207, 207, "0"},
    {"PROPFIND", "", "", kRead, 207},
    {"PROPFIND", "kept", "", kRead, 207, 207, "0"},
    {"REPORT", "", "-multiget", kRead, 207},
    {"REPORT", "", "-query", kRead, 207},
    {"GET", "kept", "", kRead, 200},
    {"GET", "missing", "", kRead, 404},
    {"GET", "", "", 0, 200},  // the status page
    {"GET", "calendar", "", kRead, 200, 404},
    {"PUT", "kept", "garbage", 0, 204, 500},
    {"PUT", "kept", "kept", kWrite | kDelete, 204},
    {"PUT", "new", "new", kInsert, 204},
    {"PUT", "kept", "first second", kWrite | kInsert | kDelete, 204, 0},
    {"DELETE", "missing", "", kDelete, 404},
    {"DELETE", "", "", kDelete, 200},  // the folder stays
    {"DELETE", "kept", "", kDelete, 200},
    {"PROPPATCH", "", "", 0, 403},
    {"POST", "", "", 0, 400},
    {"HEAD", "kept", "", 0, 501},
};

// The rules. First: what leads nowhere, 0 when the path leads to a folder.
int statusOfWay(Way way, const Actor& actor, const Row& row, Settings settings) {
    if (actor.credentials == Credentials::kNone) return 401;
    const bool known = actor.credentials == Credentials::kPassword;
    if (way == Way::kDirect) return 0;
    if (isPublic(way)) return settings.open ? 0 : 404;
    if (way != Way::kOwn) return settings.shared ? 0 : 404;
    // To a guest the path means nothing, which GET alone answers with a page.
    if (!known && row.method == std::string("GET") && row.name[0] == '\0') return 200;
    return known && actor.mailbox == "alice" ? 0 : 404;
}

uint32_t rightsOf(Way way, const Actor& actor, Settings settings) {
    if (actor.credentials == Credentials::kToken) return kRead;
    if (actor.credentials != Credentials::kPassword) return 0;
    if (isPublic(way)) return actor.grant;
    if (actor.mailbox == "alice") return kAll;
    return settings.shared ? actor.grant : 0;
}

int expected(Way way, const Kind& kind, const Actor& actor, const Row& row, Settings settings) {
    if (const int status = statusOfWay(way, actor, row, settings); status != 0) return status;
    if ((rightsOf(way, actor, settings) & row.needs) != row.needs) return 403;
    return kind.isCalendar ? row.granted : row.elsewhere;
}

std::string itemText(const Kind& kind, const std::string& uid) {
    if (std::string(kind.folderKind) == "contacts")
        return "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:" + uid + "\r\nFN:" + uid + "\r\nEND:VCARD\r\n";
    const std::string name = kind.isCalendar ? "VEVENT" : "VTODO";
    return "BEGIN:" + name + "\r\nUID:" + uid +
           "\r\nDTSTAMP:20250101T000000Z\r\nDTSTART:20250110T090000Z\r\nEND:" + name + "\r\n";
}

std::string fileText(const Kind& kind, const std::string& items) {
    if (std::string(kind.folderKind) == "contacts") return items;
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Test//EN\r\n" + items + "END:VCALENDAR\r\n";
}

std::string bodyOf(const Row& row, const Kind& kind, const std::string& newUid) {
    const bool cards = kind.home == std::string("carddav");
    const std::string prop = "<D:prop xmlns:D=\"DAV:\"><D:getetag/></D:prop>";
    const std::string method = row.method;
    if (method == "PROPFIND") return "<D:propfind xmlns:D=\"DAV:\">" + prop + "</D:propfind>";
    if (method == "REPORT") {
        const std::string root =
            std::string("R:") + (cards ? "addressbook" : "calendar") + row.body;
        return "<" + root + " xmlns:R=\"urn:ietf:params:xml:ns:" + (cards ? "carddav" : "caldav") +
               "\">" + prop + "</" + root + ">";
    }
    if (method != "PUT" || row.body == std::string("garbage")) return row.body;
    std::string items;
    std::istringstream uids(row.body);
    for (std::string uid; uids >> uid;) items += itemText(kind, uid == "new" ? newUid : uid);
    return fileText(kind, items);
}

class Rights : public testing::Test {
  protected:
    Rights() {
        client_.set("domain other.test");
        for (const Actor& actor : actors_)
            if (actor.credentials == Credentials::kPassword)
                client_.set("account " + actor.address() + " secret " + actor.mailbox);
        for (const Kind& kind : kKinds)
            for (const char* owner : {"alice@example.test", "public"}) {
                const std::string folder = std::string(owner) + " " + folderName(kind);
                client_.set("folder " + std::string(owner) + " " + kind.folderKind + " " +
                            folderName(kind));
                importKept(kind, owner);
                for (const Actor& actor : actors_)
                    if (actor.grant != 0)
                        client_.set("grant " + folder + " " + actor.address() + " " +
                                    std::to_string(actor.grant));
            }
    }

    void importKept(const Kind& kind, const std::string& owner) {
        client_.set("item " + owner + " " + folderName(kind),
                    fileText(kind, itemText(kind, "kept")));
    }

    std::string tokenOf(Way way, const Kind& kind) {
        return client_.store().accessToken(isPublic(way) ? "public" : "alice@example.test",
                                           folderName(kind));
    }

    void check(Way way, const Kind& kind, const Actor& actor, const Row& row, Settings settings) {
        const std::string newUid = "new" + std::to_string(++requests_);
        std::string url = pathOf(way, kind, actor);
        if (row.name[0] != '\0')
            url += (row.name == std::string("new") ? newUid : row.name) + kind.extension;
        if (actor.credentials == Credentials::kToken) url += "?token=" + tokenOf(way, kind);
        if (actor.credentials == Credentials::kWrongToken) url += "?token=WRONG";
        const int status =
            client_.call(row.method, url, bodyOf(row, kind, newUid), row.depth).status;
        const int right = expected(way, kind, actor, row, settings);
        EXPECT_EQ(status, right) << row.method << " " << url << " by " << actor.address()
                                 << ", grant " << actor.grant << ", shared " << settings.shared
                                 << ", public " << settings.open;
        auto& stored = stored_[{&kind, isPublic(way)}];
        if (right == 204 && row.name == std::string("new")) stored.insert(newUid);
        if (right == 204 && row.elsewhere == 0) stored.insert({"first", "second"});
        if (right == 200 && row.method + std::string(row.name) == "DELETEkept")
            importKept(kind, isPublic(way) ? "public" : "alice@example.test");
    }

    void logIn(const Actor& actor) {
        client_.logIn(actor.credentials == Credentials::kPassword ? actor.address() : "", "secret");
    }

    void checkFolders(const Actor& actor, Settings settings) {
        logIn(actor);
        for (const Kind& kind : kKinds)
            for (const Way way : kWays)
                for (const Row& row : kRows)
                    if (kind.isCalendar || row.elsewhere != 0)
                        check(way, kind, actor, row, settings);
    }

    void use(Settings settings) {
        const auto set = [&](const std::string& key, bool on) {
            client_.set("setting Corvane.ini 'Public Folders' " + key + (on ? " 1" : " 0"));
        };
        set("EnableSharedFolders", settings.shared);
        set("EnablePublicFolders", settings.open);
    }

    const std::vector<Actor> actors_ = actors();
    protocol::ModuleClient client_;
    int requests_ = 0;
    std::map<std::pair<const Kind*, bool>, std::set<std::string>> stored_;
};

TEST_F(Rights, AreThoseOfTheRulesForEveryone) {
    use({true, true});
    for (const Actor& actor : actors_) checkFolders(actor, {true, true});

    // What was refused has not been done.
    const Actor mayAll{"m511", "example.test", Credentials::kPassword, kAll};
    logIn(mayAll);
    for (const auto& [folder, names] : stored_) {
        const auto& [kind, open] = folder;
        const std::string url = pathOf(open ? Way::kPublic : Way::kShared, *kind, mayAll);
        const std::string answer = client_.call("PROPFIND", url, bodyOf(kRows[2], *kind, "")).body;
        const std::string ending = std::string(kind->extension) + "</D:href>";
        size_t count = 0;
        for (size_t at = answer.find(ending); at != answer.npos; at = answer.find(ending, at + 1))
            ++count;
        EXPECT_EQ(count, names.size() + 1) << url;
    }
}

TEST_F(Rights, StandOnlyAsFarAsFoldersAreShared) {
    for (const Settings settings : {Settings{true, false}, Settings{false, true}, Settings{}}) {
        use(settings);
        for (const Actor& actor : actors_)
            if (actor.credentials != Credentials::kPassword || actor.grant == kAll)
                checkFolders(actor, settings);
    }
}

TEST_F(Rights, BesidesFoldersAreThoseOfAlice) {
    // Statuses for alice, for others, for guests.
    struct Resource {
        const char* url;
        const char* method;
        int own;
        int others;
        int guests;
    };
    const std::string find = "<D:propfind xmlns:D=\"DAV:\"/>";
    const Resource resources[] = {
        {"/webdav/principals/alice@example.test/", "PROPFIND", 207, 207, 207},
        {"/webdav/principals/alice@example.test/", "REPORT", 400, 400, 400},
        {"/webdav/principals/alice@example.test/", "GET", 200, 200, 200},
        {"/webdav/principals/alice@example.test/", "PUT", 204, 204, 204},
        {"/webdav/principals/alice@example.test/", "DELETE", 200, 200, 403},
        {"/webdav/caldav/", "PROPFIND", 207, 207, 207},
        {"/webdav/caldav/example.test/alice/", "PROPFIND", 207, 403, 403},
        {"/webdav/carddav/example.test/alice/", "PROPFIND", 207, 403, 403},
        {"/webdav/caldav-inbox/example.test/alice/", "PROPFIND", 207, 403, 403},
        {"/webdav/caldav-inbox/example.test/alice/", "PUT", 204, 204, 204},
        {"/webdav/caldav-inbox/example.test/alice/", "DELETE", 200, 403, 403},
        {"/webdav/caldav-outbox/example.test/alice/", "OPTIONS", 200, 200, 200},
        {"/webdav/caldav-outbox/example.test/alice/", "PROPFIND", 400, 400, 403},
        {"/webdav/caldav-outbox/example.test/alice/", "DELETE", 200, 200, 403},
        {"/webdav/caldav-outbox/example.test/alice/", "POST", 400, 400, 400},
        {"/webdav/calendar/", "OPTIONS", 200, 200, 404},
        {"/webdav/nothing/", "OPTIONS", 404, 404, 404},
        {"/webdav/nothing/", "GET", 200, 200, 200},
    };
    for (const Actor& actor : actors_) {
        logIn(actor);
        for (const Resource& row : resources) {
            const bool guest = actor.credentials != Credentials::kPassword;
            const int status = actor.credentials == Credentials::kNone ? 401
                               : guest                                 ? row.guests
                               : actor.mailbox == "alice"              ? row.own
                                                                       : row.others;
            const std::string token =
                guest && actor.credentials != Credentials::kNone ? "?token=X" : "";
            EXPECT_EQ(client_.call(row.method, row.url + token, find).status, status)
                << row.method << " " << row.url << token << " by " << actor.address();
        }
    }
}

}  // namespace
