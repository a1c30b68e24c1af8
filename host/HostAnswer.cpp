#include "host/HostAnswer.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>

namespace host {
namespace {

struct StatusRow {
    unsigned status;
    std::string_view phrase;
    std::string_view text;
};

constexpr StatusRow kStatuses[] = {
    {200, "OK", ""},
    {308, "Permanent Redirect", "This is to be found at another address."},
    {400, "Bad Request", "The request is malformed."},
    {404, "Not Found", "There is nothing at this address."},
    {405, "Method Not Allowed", "This address is only to be read."},
    {413, "Content Too Large", "The request body is larger than this server takes."},
    {414, "URI Too Long", "The address is longer than this server takes."},
    {417, "Expectation Failed", "The expectation of the request is not known."},
    {421, "Misdirected Request", "This is to be asked for as localhost or by a loopback address."},
    {429, "Too Many Requests", "Too many logins have failed; try again later."},
    {431, "Request Header Fields Too Large",
     "The request header is larger than this server takes."},
    {501, "Not Implemented", "The transfer coding of the request is not known."},
    {503, "Service Unavailable", "The server is busy; try again in a moment."},
    {505, "HTTP Version Not Supported", "This server speaks HTTP/1.1 and HTTP/1.0."},
};

constexpr size_t kBadRequestRow = 2;
static_assert(kStatuses[kBadRequestRow].status == 400);

constexpr std::string_view kPlainText = "text/plain; charset=utf-8";

HostAnswer finished(std::string head, std::string_view contentType, std::string body) {
    head.append("Content-Type: ").append(contentType).append("\r\nContent-Length: ");
    head.append(std::to_string(body.size())).append("\r\nConnection: close\r\n\r\n");
    return {std::move(head), std::move(body)};
}

const StatusRow& rowOf(unsigned status) {
    const StatusRow* row = std::ranges::find(kStatuses, status, &StatusRow::status);
    return row == std::end(kStatuses) ? kStatuses[kBadRequestRow] : *row;
}

std::string firstLine(const StatusRow& row) {
    std::string line = "HTTP/1.1 ";
    return line.append(std::to_string(row.status)).append(" ").append(row.phrase).append("\r\n");
}

HostAnswer shortAnswer(unsigned status, std::string_view headerLines) {
    const StatusRow& row = rowOf(status);
    return finished(firstLine(row).append(headerLines), kPlainText,
                    std::string(row.text).append("\n"));
}

}  // namespace

HostAnswer makeHostAnswer(unsigned status, std::string_view location) {
    std::string lines;
    if (!location.empty()) lines.append("Location: ").append(location).append("\r\n");
    if (status == 405) lines.append("Allow: GET, HEAD\r\n");
    if (status == 503) lines.append("Retry-After: 1\r\n");
    return shortAnswer(status, lines);
}

HostAnswer makePenaltyAnswer(std::chrono::milliseconds comeBackAfter) {
    const auto seconds = std::chrono::ceil<std::chrono::seconds>(comeBackAfter);
    return shortAnswer(429, "Retry-After: " + std::to_string(seconds.count()) + "\r\n");
}

HostAnswer makeDocument(std::string_view contentType, std::string_view headerLines,
                        std::string body, unsigned status) {
    return finished(firstLine(rowOf(status)).append(headerLines), contentType, std::move(body));
}

unsigned statusOf(std::string_view head) {
    constexpr size_t kStart = 9;
    constexpr size_t kEnd = 12;
    unsigned status = 0;
    if (head.size() >= kEnd) std::from_chars(head.data() + kStart, head.data() + kEnd, status);
    return status;
}

}  // namespace host
