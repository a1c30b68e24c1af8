#include "host/Metrics.h"

#include <algorithm>
#include <iterator>

namespace host {
namespace {

constexpr std::string_view kMethods[] = {
    "ACL",   "COPY",   "DELETE",  "GET",   "HEAD",   "LOCK",     "MKCALENDAR",
    "MKCOL", "MOVE",   "OPTIONS", "PATCH", "POST",   "PROPFIND", "PROPPATCH",
    "PUT",   "REPORT", "SEARCH",  "TRACE", "UNLOCK",
};
constexpr std::string_view kOtherMethod = "other";

struct Bucket {
    std::chrono::microseconds atMost;
    std::string_view label;
};

constexpr Bucket kBounds[] = {
    {std::chrono::microseconds(1'000), "0.001"},   {std::chrono::microseconds(2'500), "0.0025"},
    {std::chrono::microseconds(5'000), "0.005"},   {std::chrono::microseconds(10'000), "0.01"},
    {std::chrono::microseconds(25'000), "0.025"},  {std::chrono::microseconds(50'000), "0.05"},
    {std::chrono::microseconds(100'000), "0.1"},   {std::chrono::microseconds(250'000), "0.25"},
    {std::chrono::microseconds(500'000), "0.5"},   {std::chrono::microseconds(1'000'000), "1"},
    {std::chrono::microseconds(2'500'000), "2.5"}, {std::chrono::microseconds(10'000'000), "10"},
};

std::string_view knownMethod(std::string_view method) {
    const auto* found = std::ranges::find(kMethods, method);
    return found == std::end(kMethods) ? kOtherMethod : *found;
}

std::string statusLabel(unsigned status) {
    return status == 0 ? "none" : std::to_string(status);
}

struct Single {
    std::string_view name;
    std::string_view type;
    std::string_view help;
    uint64_t (*value)(const Metrics& metrics, const LiveNumbers& now);
};

constexpr Single kSingles[] = {
    {"cvwebdavd_received_bytes_total", "counter", "Bytes of request bodies.",
     [](const Metrics& m, const LiveNumbers&) { return m.receivedBytes(); }},
    {"cvwebdavd_sent_bytes_total", "counter", "Bytes of answers.",
     [](const Metrics& m, const LiveNumbers&) { return m.sentBytes(); }},
    {"cvwebdavd_connections", "gauge", "Open connections.",
     [](const Metrics&, const LiveNumbers& n) { return uint64_t{n.connections}; }},
    {"cvwebdavd_queued_requests", "gauge", "Requests that wait for a worker.",
     [](const Metrics&, const LiveNumbers& n) { return uint64_t{n.queued}; }},
    {"cvwebdavd_running_requests", "gauge", "Requests that a worker is at.",
     [](const Metrics&, const LiveNumbers& n) { return uint64_t{n.running}; }},
    {"cvwebdavd_held_bytes", "gauge", "Memory that bodies of requests and answers take.",
     [](const Metrics&, const LiveNumbers& n) { return uint64_t{n.heldBytes}; }},
    {"cvwebdavd_unsent_mails", "gauge", "Messages that wait for the mail server.",
     [](const Metrics&, const LiveNumbers& n) { return uint64_t{n.unsentMails}; }},
    {"cvwebdavd_login_failures_total", "counter", "Logins that failed.",
     [](const Metrics&, const LiveNumbers& n) { return n.penalties.failures; }},
    {"cvwebdavd_logins_delayed_total", "counter", "Logins that had to wait.",
     [](const Metrics&, const LiveNumbers& n) { return n.penalties.delayed; }},
    {"cvwebdavd_logins_refused_total", "counter", "Logins answered 429.",
     [](const Metrics&, const LiveNumbers& n) { return n.penalties.refused; }},
    {"cvwebdavd_penalized_networks", "gauge", "Client networks with failed logins.",
     [](const Metrics&, const LiveNumbers& n) { return uint64_t{n.penalties.networks}; }},
    {"cvwebdavd_penalized_logins", "gauge", "Login names with failed logins.",
     [](const Metrics&, const LiveNumbers& n) { return uint64_t{n.penalties.logins}; }},
    {"cvwebdavd_start_time_seconds", "gauge", "When serving began, since 1970.",
     [](const Metrics&, const LiveNumbers& n) {
         return static_cast<uint64_t>(n.upSinceMs / 1000);
     }},
};

struct StoreNumber {
    std::string_view name;
    std::string_view type;
    std::string_view help;
    uint64_t StoreFigures::*value;
};

constexpr StoreNumber kStoreNumbers[] = {
    {"cvwebdavd_passwords_remembered", "gauge",
     "Accounts whose password needs no hash for a while.", &StoreFigures::passwordsRemembered},
    {"cvwebdavd_passwords_recognized_total", "counter", "Passwords checked without a hash.",
     &StoreFigures::passwordsRecognized},
    {"cvwebdavd_passwords_hashed_total", "counter", "Passwords checked by a hash.",
     &StoreFigures::passwordsHashed},
    {"cvwebdavd_snapshot_folders", "gauge", "Folders whose contents are in memory.",
     &StoreFigures::snapshotFolders},
    {"cvwebdavd_snapshot_bytes", "gauge", "Memory that they take.", &StoreFigures::snapshotBytes},
    {"cvwebdavd_snapshots_reused_total", "counter", "Readings of a folder as it was in memory.",
     &StoreFigures::snapshotsReused},
    {"cvwebdavd_snapshots_read_total", "counter", "Readings that asked the database for changes.",
     &StoreFigures::snapshotsRead},
};

void announce(std::string& text, std::string_view name, std::string_view type,
              std::string_view help) {
    text.append("# HELP ").append(name).append(" ").append(help).append("\n# TYPE ");
    text.append(name).append(" ").append(type).append("\n");
}

void add(std::string& text, std::string_view name, const std::string& value) {
    text.append(name).append(" ").append(value).append("\n");
}

}  // namespace

void Metrics::count(const RequestRecord& record) {
    static_assert(std::size(kBounds) == kBuckets);
    ++requests_;
    ++answers_[{knownMethod(record.request.head.method()), record.status}];
    const auto* bound = std::ranges::lower_bound(kBounds, record.took, {}, &Bucket::atMost);
    ++tookAtMost_[static_cast<size_t>(bound - std::begin(kBounds))];
    took_ += record.took;
    receivedBytes_ += record.bodyBytes;
    sentBytes_ += record.sentBytes;
}

uint64_t Metrics::answersOfClass(unsigned digit) const {
    uint64_t sum = 0;
    for (const auto& [key, count] : answers_) {
        if (key.second / 100 == digit) sum += count;
    }
    return sum;
}

std::string Metrics::text(const LiveNumbers& now) const {
    std::string text;
    announce(text, "cvwebdavd_requests_total", "counter", "Requests by method and status.");
    for (const auto& [key, count] : answers_) {
        text.append("cvwebdavd_requests_total{method=\"").append(key.first);
        add(text.append("\",status=\""), statusLabel(key.second) + "\"}", std::to_string(count));
    }
    constexpr std::string_view kTook = "cvwebdavd_request_seconds";
    announce(text, kTook, "histogram", "Time from the whole request to the answer.");
    uint64_t sum = 0;
    for (size_t i = 0; i <= kBuckets; ++i) {
        sum += tookAtMost_[i];
        text.append(kTook).append("_bucket{le=\"");
        add(text.append(i < kBuckets ? kBounds[i].label : "+Inf"), "\"}", std::to_string(sum));
    }
    add(text.append(kTook), "_sum", std::to_string(secondsOf(took_)));
    add(text.append(kTook), "_count", std::to_string(sum));
    for (const Single& single : kSingles) {
        announce(text, single.name, single.type, single.help);
        add(text, single.name, std::to_string(single.value(*this, now)));
    }
    if (!now.store) return text;
    for (const StoreNumber& number : kStoreNumbers) {
        announce(text, number.name, number.type, number.help);
        add(text, number.name, std::to_string(*now.store.*number.value));
    }
    return text;
}

}  // namespace host
