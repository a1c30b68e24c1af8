// Who may do what where: every acting user on every folder by every path and with every method, the
// expected answer computed from the rules below.
#include <map>
#include <set>
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
    const std::string root = "/webdav/";
    const auto inHome = [&](const std::string& domain, const std::string& mailbox,
                            const std::string& folder) {
        return root + kind.home + "/" + domain + "/" + mailbox +
               "/b64=" + webdav::Base64Encode(folder) + "/";
    };
    switch (way) {
        case Way::kOwn:
            return root + kind.own + "/" + name + "/";
        case Way::kDirect:
            return inHome("example.test", "alice", name);
        case Way::kOfUser:
            return root + kind.ofUser + "/example.test/alice/" + name + "/";
        case Way::kShared:
            return inHome(actor.domain, actor.mailbox, "~shared/example.test/alice/" + name);
        case Way::kPublic:
            return inHome(actor.domain, actor.mailbox, "~public/" + name);
        case Way::kOfPublic:
            return root + kind.ofPublic + "/" + name + "/";
    }
    return {};
}

enum class Method {
    kOptions,
    kPropFind0,
    kPropFind1,
    kPropFindItem,
    kMultiget,
    kQuery,
    kGetItem,
    kGetMissing,
    kGetFolder,
    kGetWhole,
    kPutGarbage,
    kPutOver,
    kPutNew,
    kPutSeveral,
    kDeleteMissing,
    kDeleteFolder,
    kDeleteItem,
    kPropPatch,
    kPost,
    kHead,
};
constexpr int kMethodCount = static_cast<int>(Method::kHead) + 1;

// The rules. First: what leads nowhere, 0 when the path leads to a folder.
int statusOfWay(Way way, const Actor& actor, Method method, Settings settings) {
    if (actor.credentials == Credentials::kNone) return 401;
    const bool owner = actor.mailbox == "alice" && actor.credentials == Credentials::kPassword;
    const bool guest = actor.credentials != Credentials::kPassword;
    switch (way) {
        case Way::kOwn:
            // To a guest the path means nothing, which GET alone answers with a page.
            if (guest && method == Method::kGetFolder) return 200;
            return owner ? 0 : 404;
        case Way::kDirect:
            return 0;
        case Way::kOfUser:
        case Way::kShared:
            return settings.shared ? 0 : 404;
        case Way::kPublic:
        case Way::kOfPublic:
            return settings.open ? 0 : 404;
    }
    return 0;
}

uint32_t rightsOf(Way way, const Actor& actor, Settings settings) {
    if (actor.credentials == Credentials::kToken) return kRead;
    if (actor.credentials != Credentials::kPassword) return 0;
    if (isPublic(way)) return actor.grant;
    if (actor.mailbox == "alice") return kAll;
    return settings.shared ? actor.grant : 0;
}

struct Rule {
    uint32_t needs;
    int granted;
    int refused = 403;
};

/// One row for each method, in their order.
Rule ruleOf(Method method, const Kind& kind) {
    const bool calendar = kind.isCalendar;
    const Rule rules[kMethodCount] = {
        {0, 200},                           // OPTIONS
        {kRead, 207},                       // PROPFIND of the folder, depth 0
        {kRead, 207},                       // with its items
        {kRead, 207},                       // of an item
        {kRead, 207},                       // REPORT multiget
        {kRead, 207},                       // REPORT query
        {kRead, 200},                       // GET of an item
        {kRead, 404},                       // of one that is not there
        {0, 200},                           // of the folder: the status page
        {kRead, calendar ? 200 : 404},      // of the name of a whole calendar
        {0, calendar ? 204 : 500},          // PUT of what cannot be read
        {kWrite | kDelete, 204},            // PUT over an item
        {kInsert, 204},                     // PUT of a new one
        {kWrite | kInsert | kDelete, 204},  // PUT of several, to calendars
        {kDelete, 404},                     // DELETE of an item not there
        {kDelete, 200},                     // of the folder, which stays
        {kDelete, 200},                     // of an item
        {0, 403},                           // PROPPATCH
        {0, 400},                           // POST
        {0, 501},                           // HEAD
    };
    return rules[static_cast<size_t>(method)];
}

int expected(Way way, const Kind& kind, const Actor& actor, Method method, Settings settings) {
    if (const int status = statusOfWay(way, actor, method, settings); status != 0) return status;
    const Rule rule = ruleOf(method, kind);
    const bool may = (rightsOf(way, actor, settings) & rule.needs) == rule.needs;
    return may ? rule.granted : rule.refused;
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

struct Request {
    const char* method;
    std::string name;  ///< behind the folder's path
    std::string body;
    const char* depth = "1";
};

Request requestOf(Method method, const Kind& kind, const std::string& newUid) {
    const std::string ns = kind.home == std::string("carddav") ? "urn:ietf:params:xml:ns:carddav"
                                                               : "urn:ietf:params:xml:ns:caldav";
    const std::string report = kind.home == std::string("carddav") ? "addressbook" : "calendar";
    const std::string prop = "<D:prop xmlns:D=\"DAV:\"><D:getetag/></D:prop>";
    const std::string find = "<D:propfind xmlns:D=\"DAV:\">" + prop + "</D:propfind>";
    const std::string kept = std::string("kept") + kind.extension;
    const auto reportBody = [&](const std::string& name) {
        return "<R:" + report + name + " xmlns:R=\"" + ns + "\">" + prop + "</R:" + report + name +
               ">";
    };
    switch (method) {
        case Method::kOptions:
            return {"OPTIONS", "", ""};
        case Method::kPropFind0:
            return {"PROPFIND", "", find, "0"};
        case Method::kPropFind1:
            return {"PROPFIND", "", find};
        case Method::kPropFindItem:
            return {"PROPFIND", kept, find, "0"};
        case Method::kMultiget:
            return {"REPORT", "", reportBody("-multiget")};
        case Method::kQuery:
            return {"REPORT", "", reportBody("-query")};
        case Method::kGetItem:
            return {"GET", kept, ""};
        case Method::kGetMissing:
            return {"GET", std::string("missing") + kind.extension, ""};
        case Method::kGetFolder:
            return {"GET", "", ""};
        case Method::kGetWhole:
            return {"GET", std::string("calendar") + kind.extension, ""};
        case Method::kPutGarbage:
            return {"PUT", kept, "garbage"};
        case Method::kPutOver:
            return {"PUT", kept, fileText(kind, itemText(kind, "kept"))};
        case Method::kPutNew:
            return {"PUT", newUid + kind.extension, fileText(kind, itemText(kind, newUid))};
        case Method::kPutSeveral:
            return {"PUT", kept,
                    fileText(kind, itemText(kind, "first") + itemText(kind, "second"))};
        case Method::kDeleteMissing:
            return {"DELETE", std::string("missing") + kind.extension, ""};
        case Method::kDeleteFolder:
            return {"DELETE", "", ""};
        case Method::kDeleteItem:
            return {"DELETE", kept, ""};
        case Method::kPropPatch:
            return {"PROPPATCH", "", ""};
        case Method::kPost:
            return {"POST", "", ""};
        case Method::kHead:
            return {"HEAD", kept, ""};
    }
    return {};
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

    void check(Way way, const Kind& kind, const Actor& actor, Method method, Settings settings) {
        const Request request = requestOf(method, kind, "new" + std::to_string(++requests_));
        std::string url = pathOf(way, kind, actor) + request.name;
        if (actor.credentials == Credentials::kToken) url += "?token=" + tokenOf(way, kind);
        if (actor.credentials == Credentials::kWrongToken) url += "?token=WRONG";
        const int status = client_.call(request.method, url, request.body, request.depth).status;
        const int right = expected(way, kind, actor, method, settings);
        EXPECT_EQ(status, right) << request.method << " " << url << " by " << actor.address()
                                 << ", grant " << actor.grant << ", shared " << settings.shared
                                 << ", public " << settings.open;
        auto& stored = stored_[{&kind, isPublic(way)}];
        if (method == Method::kPutNew && right == 204) stored.insert(request.name);
        if (method == Method::kPutSeveral && right == 204) stored.insert({"first", "second"});
        if (method == Method::kDeleteItem && right == 200)
            importKept(kind, isPublic(way) ? "public" : "alice@example.test");
    }

    void logIn(const Actor& actor) {
        client_.logIn(actor.credentials == Credentials::kPassword ? actor.address() : "", "secret");
    }

    void checkFolders(const Actor& actor, Settings settings) {
        logIn(actor);
        for (const Kind& kind : kKinds)
            for (const Way way : kWays)
                for (int method = 0; method < kMethodCount; ++method)
                    if (kind.isCalendar || method != static_cast<int>(Method::kPutSeveral))
                        check(way, kind, actor, static_cast<Method>(method), settings);
    }

    void use(Settings settings) {
        const auto set = [&](const char* key, bool on) {
            client_.setting("Corvane.ini", "Public Folders", key, on ? "1" : "0");
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
        const Request list = requestOf(Method::kPropFind1, *kind, "");
        const std::string url = pathOf(open ? Way::kPublic : Way::kShared, *kind, mayAll);
        const std::string answer = client_.call(list.method, url, list.body).body;
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
