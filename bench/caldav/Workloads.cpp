#include "bench/caldav/Workloads.h"

#include "bench/caldav/DataSet.h"

namespace bench {
namespace {

constexpr size_t kMultiget = 50;
// Items are visited in an order that keeps neighbours apart.
constexpr size_t kStride = 7919;

constexpr std::string_view kNamespaces =
    " xmlns:D=\"DAV:\" xmlns:C=\"urn:ietf:params:xml:ns:caldav\""
    " xmlns:CS=\"http://calendarserver.org/ns/\">";

std::string base64(std::string_view text) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (size_t at = 0; at < text.size(); at += 3) {
        uint32_t bits = 0;
        for (size_t i = 0; i < 3; ++i) {
            bits =
                bits << 8U | (at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0);
        }
        for (size_t i = 0; i < 4; ++i) {
            out += at + i > text.size() ? '=' : kDigits[bits >> (18 - 6 * i) & 63U];
        }
    }
    return out;
}

std::string request(const Site& site, std::string_view method, std::string_view path,
                    std::string_view headers, std::string_view body) {
    std::string text;
    text.reserve(body.size() + 512);
    text.append(method).append(" ").append(path).append(" HTTP/1.1\r\nHost: ").append(site.host);
    text.append(":").append(std::to_string(site.port)).append("\r\n");
    if (!site.login.empty()) {
        text.append("Authorization: Basic ").append(base64(site.login)).append("\r\n");
    }
    text.append("User-Agent: bench\r\nAccept: */*\r\nConnection: ");
    text.append(site.keepAlive ? "keep-alive\r\n" : "close\r\n").append(headers);
    if (method != "GET" && method != "DELETE") {
        text.append("Content-Length: ").append(std::to_string(body.size())).append("\r\n");
    }
    return text.append("\r\n").append(body);
}

std::string ask(const Site& site, std::string_view method, std::string_view path, int depth,
                std::string_view element, std::string_view content) {
    const std::string headers =
        "Depth: " + std::to_string(depth) + "\r\nContent-Type: application/xml; charset=utf-8\r\n";
    std::string body = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<";
    body.append(element).append(kNamespaces).append(content);
    body.append("</").append(element).append(">");
    return request(site, method, path, headers, body);
}

std::string propfind(const Site& site, std::string_view path, int depth, std::string_view names) {
    const std::string content = std::string("<D:prop>").append(names).append("</D:prop>");
    return ask(site, "PROPFIND", path, depth, "D:propfind", content);
}

std::string eventPath(const Site& site, size_t number) {
    return site.calendar + eventUid(number) + ".ics";
}

std::string userOf(const Site& site) {
    return site.login.substr(0, site.login.find(':'));
}

Exchange put(const Site& site, size_t number, size_t revision) {
    return {request(site, "PUT", eventPath(site, number),
                    "Content-Type: text/calendar; charset=utf-8\r\n",
                    eventText(number, revision, userOf(site))),
            {.status = 204}};
}

Turn homeListing(const Site& site, size_t) {
    return {{propfind(site, site.home, 1,
                      "<D:resourcetype/><D:displayname/><CS:getctag/>"
                      "<C:supported-calendar-component-set/><D:current-user-privilege-set/>"),
             {.atLeast = 2, .filled = "getctag", .fillings = 1}}};
}

Turn listing(const Site& site, const std::string& path, size_t items) {
    return {{propfind(site, path, 1, "<D:getetag/>"),
             {.responses = items + 1, .filled = "getetag", .fillings = items}}};
}

Turn calendarListing(const Site& site, size_t) {
    return listing(site, site.calendar, site.events);
}

Turn bookListing(const Site& site, size_t) {
    return listing(site, site.book, site.contacts);
}

/// Some of the items, a stride apart from each other.
Exchange multiget(const Site& site, size_t first, size_t count, size_t stride) {
    std::string content = "<D:prop><D:getetag/><C:calendar-data/></D:prop>";
    for (size_t i = 0; i < count; ++i) {
        const size_t number = (first + i * stride) % site.events;
        content += "<D:href>" + eventPath(site, number) + "</D:href>";
    }
    return {ask(site, "REPORT", site.calendar, 1, "C:calendar-multiget", content),
            {.responses = count, .filled = "calendar-data", .fillings = count}};
}

Turn multigetOfMany(const Site& site, size_t number) {
    return {multiget(site, number * kMultiget, std::min(kMultiget, site.events), kStride)};
}

std::string monthText(std::chrono::year_month month) {
    const auto number = static_cast<unsigned>(month.month());
    return std::to_string(static_cast<int>(month.year())) + (number < 10 ? "0" : "") +
           std::to_string(number) + "01T000000Z";
}

Turn query(const Site& site, std::string_view names, std::string_view wanted) {
    const std::string content =
        std::string("<D:prop>").append(names) +
        "</D:prop><C:filter><C:comp-filter name=\"VCALENDAR\"><C:comp-filter name=\"VEVENT\">"
        "<C:time-range start=\"" +
        monthText(kQueryMonth) + "\" end=\"" + monthText(kQueryMonth + std::chrono::months{1}) +
        "\"/></C:comp-filter></C:comp-filter></C:filter>";
    return {{ask(site, "REPORT", site.calendar, 1, "C:calendar-query", content),
             {.responses = site.inMonth, .filled = std::string(wanted), .fillings = site.inMonth}}};
}

Turn queryEtags(const Site& site, size_t) {
    return query(site, "<D:getetag/>", "getetag");
}

Turn queryData(const Site& site, size_t) {
    return query(site, "<D:getetag/><C:calendar-data/>", "calendar-data");
}

Turn getEvent(const Site& site, size_t number) {
    const size_t event = number * kStride % site.events;
    Expectation expected{.status = 200, .holds = "UID:" + eventUid(event)};
    if (site.keepsTexts) expected.text = eventText(event, 0, userOf(site));
    return {{request(site, "GET", eventPath(site, event), "", ""), expected}};
}

/// As a client does it here for the first time: the listing, then all texts.
Turn fullSync(const Site& site, size_t) {
    Turn turn = calendarListing(site, 0);
    for (size_t first = 0; first < site.events; first += kMultiget) {
        turn.push_back(multiget(site, first, std::min(kMultiget, site.events - first), 1));
    }
    return turn;
}

Turn putOver(const Site& site, size_t number) {
    return {put(site, number * kStride % site.events, number + 1)};
}

Turn deleteAndPut(const Site& site, size_t number) {
    const size_t event = number * kStride % site.events;
    return {{request(site, "DELETE", eventPath(site, event), "", ""), {.status = 204}},
            put(site, event, number)};
}

Turn fillEvent(const Site& site, size_t number) {
    return {put(site, number, 0)};
}

Turn fillContact(const Site& site, size_t number) {
    return {{request(site, "PUT", site.book + contactUid(number) + ".vcf",
                     "Content-Type: text/vcard; charset=utf-8\r\n", contactText(number)),
             {.status = 204}}};
}

const Workload kWorkloads[] = {
    {"ctag poll", changeStampPoll},
    {"ctag poll, kept alive", changeStampPoll, 1, true},
    {"home listing", homeListing},
    {"listing with etags", calendarListing},
    {"multiget of 50", multigetOfMany},
    {"month query, etags", queryEtags},
    {"month query, data", queryData},
    {"GET", getEvent},
    {"GET, kept alive", getEvent, 1, true},
    {"full sync", fullSync},
    {"address book listing", bookListing},
    {"PUT over", putOver, 1, false, Floor::sync},
    {"PUT over, 4 connections", putOver, 4, false, Floor::sync},
    {"DELETE plus PUT", deleteAndPut, 1, false, Floor::sync},
};

}  // namespace

const Workload kFillAlone{"filling", fillEvent, 1, false, Floor::sync};
const Workload kFillTogether{"filling, 4 connections", fillEvent, 4, false, Floor::sync};
const Workload kFillContacts{"filling contacts", fillContact, 4, false, Floor::sync};

std::span<const Workload> workloads() {
    return kWorkloads;
}

Turn changeStampPoll(const Site& site, size_t) {
    return {{propfind(site, site.calendar, 0, "<CS:getctag/>"),
             {.responses = 1, .filled = "getctag", .fillings = 1}}};
}

Exchange plainGet(const Site& site, const std::string& path, size_t length) {
    return {request(site, "GET", path, "", ""), {.status = 200, .text = std::string(length, 'x')}};
}

}  // namespace bench
