#include "host/HostAnswer.h"

#include <algorithm>
#include <iterator>

namespace host {
namespace {

struct StatusRow {
    unsigned status;
    std::string_view phrase;
    std::string_view text;
};

constexpr StatusRow kStatuses[] = {
    {308, "Permanent Redirect", "This is to be found at another address."},
    {400, "Bad Request", "The request is malformed."},
    {404, "Not Found", "There is nothing at this address."},
    {413, "Content Too Large", "The request body is larger than this server takes."},
    {414, "URI Too Long", "The address is longer than this server takes."},
    {417, "Expectation Failed", "The expectation of the request is not known."},
    {431, "Request Header Fields Too Large",
     "The request header is larger than this server takes."},
    {501, "Not Implemented", "The transfer coding of the request is not known."},
    {503, "Service Unavailable", "The server is busy; try again in a moment."},
    {505, "HTTP Version Not Supported", "This server speaks HTTP/1.1 and HTTP/1.0."},
};

}  // namespace

HostAnswer makeHostAnswer(unsigned status, std::string_view location) {
    const StatusRow* row = std::ranges::find(kStatuses, status, &StatusRow::status);
    if (row == std::end(kStatuses)) row = std::ranges::find(kStatuses, 400U, &StatusRow::status);
    HostAnswer answer;
    answer.body.append(row->text).append("\n");
    answer.head.append("HTTP/1.1 ").append(std::to_string(row->status)).append(" ");
    answer.head.append(row->phrase).append("\r\n");
    if (!location.empty()) answer.head.append("Location: ").append(location).append("\r\n");
    if (status == 503) answer.head.append("Retry-After: 1\r\n");
    answer.head.append("Content-Type: text/plain; charset=utf-8\r\nContent-Length: ");
    answer.head.append(std::to_string(answer.body.size())).append("\r\nConnection: close\r\n\r\n");
    return answer;
}

}  // namespace host
