#include <chrono>
#include <iostream>
#include <iterator>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/local/stream_protocol.hpp>

#include "admin/Commands.h"
#include "admin/Output.h"
#include "admin/Session.h"

namespace admin {
namespace {

using boost::asio::ip::tcp;
using boost::asio::local::stream_protocol;

constexpr std::string_view kUnixPrefix = "unix:";
constexpr std::string_view kHeadEnd = "\r\n\r\n";
constexpr std::chrono::seconds kPatience{10};

/// The whole answer to a GET.
template <typename Stream>
std::string get(Stream stream, const std::string& page) {
    if (!stream) throw CommandError(stream.error().message());
    stream.expires_after(kPatience);
    stream << "GET " << page << " HTTP/1.0\r\n\r\n" << std::flush;
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::string ask(const std::string& where, const std::string& page) {
    if (where.starts_with(kUnixPrefix)) {
        const stream_protocol::endpoint endpoint(where.substr(kUnixPrefix.size()));
        return get(stream_protocol::iostream(endpoint), page);
    }
    const size_t colon = where.rfind(':');
    if (colon == std::string::npos) throw CommandError("that is neither unix:PATH nor ADDR:PORT");
    std::string host = where.substr(0, colon);
    if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
    return get(tcp::iostream(host, where.substr(colon + 1)), page);
}

std::string answerFrom(const std::string& where) {
    try {
        return ask(where, "/status");
    } catch (const std::exception& problem) {
        throw CommandError("no cvwebdavd answers on " + where + ": " + problem.what() +
                           "; if it listens elsewhere, say where with --admin");
    }
}

Json statusOf(const std::string& where) {
    const std::string answer = answerFrom(where);
    const size_t headEnd = answer.find(kHeadEnd);
    if (headEnd != std::string::npos) {
        Json status = Json::parse(answer.substr(headEnd + kHeadEnd.size()), nullptr, false);
        if (status.is_object()) return status;
    }
    throw CommandError("what answers on " + where + " is no cvwebdavd");
}

std::string shown(const Json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

std::string duration(int64_t seconds) {
    const int64_t days = seconds / 86'400;
    std::string text = days > 0 ? std::to_string(days) + " d " : std::string();
    text += std::to_string(seconds / 3'600 % 24) + " h ";
    return text + std::to_string(seconds / 60 % 60) + " min";
}

struct Row {
    const char* label;
    const char* member;
};

constexpr Row kRows[] = {
    {"Version", "version"},
    {"Up since", "upSince"},
    {"Requests", "requests"},
    {"  succeeded", "succeeded"},
    {"  refused (4xx)", "refused"},
    {"  failed (5xx)", "failed"},
    {"Connections", "connections"},
    {"Requests that wait", "queued"},
    {"Requests in work", "running"},
    {"Bytes received", "receivedBytes"},
    {"Bytes sent", "sentBytes"},
    {"Mails to be sent", "unsentMails"},
    {"Logins that failed", "loginFailures"},
    {"Logins refused", "loginsRefused"},
};

/// A list of requests under a heading; nothing when it is empty.
void printList(const char* heading, const Json& entries,
               std::initializer_list<const char*> members) {
    if (!entries.is_array() || entries.empty()) return;
    std::cout << '\n' << heading << '\n';
    std::vector<std::vector<std::string>> rows;
    for (const Json& entry : entries) {
        std::vector<std::string>& row = rows.emplace_back(std::vector<std::string>{" "});
        for (const char* member : members) row.push_back(shown(entry.value(member, Json())));
    }
    printColumns(rows);
}

}  // namespace

void showStatus(Session& session, const Arguments& arguments) {
    const std::string where = arguments.admin.empty()
                                  ? "unix:" + session.typedDirectory() + "/run/cvwebdavd.sock"
                                  : arguments.admin;
    const Json status = statusOf(where);
    if (arguments.json) {
        printJson(status);
        return;
    }
    std::vector<std::vector<std::string>> rows;
    for (const Row& row : kRows) {
        rows.push_back({row.label, shown(status.value(row.member, Json()))});
    }
    rows[1][1] += " (" + duration(status.value("upSeconds", int64_t{0})) + ")";
    printColumns(rows);
    printList("Busiest (requests, seconds, path)", status.value("busiest", Json()),
              {"requests", "seconds", "path"});
    printList("Slowest (seconds, status, when, what)", status.value("slowest", Json()),
              {"seconds", "status", "at", "method", "path"});
    printList("Last errors", status.value("errors", Json()), {"status", "at", "method", "path"});
}

}  // namespace admin
