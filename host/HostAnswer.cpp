#include "host/HostAnswer.h"

#include <algorithm>
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
    {308, "Permanent Redirect", "This is to be found at another address."},
    {400, "Bad Request", "The request is malformed."},
    {404, "Not Found", "There is nothing at this address."},
    {405, "Method Not Allowed", "This address is only to be read."},
    {413, "Content Too Large", "The request body is larger than this server takes."},
    {414, "URI Too Long", "The address is longer than this server takes."},
    {417, "Expectation Failed", "The expectation of the request is not known."},
    {429, "Too Many Requests", "Too many logins have failed; try again later."},
    {431, "Request Header Fields Too Large",
     "The request header is larger than this server takes."},
    {501, "Not Implemented", "The transfer coding of the request is not known."},
    {503, "Service Unavailable", "The server is busy; try again in a moment."},
    {505, "HTTP Version Not Supported", "This server speaks HTTP/1.1 and HTTP/1.0."},
};

constexpr std::string_view kPlainText = "text/plain; charset=utf-8";

HostAnswer finished(std::string head, std::string_view contentType, std::string body) {
    head.append("Content-Type: ").append(contentType).append("\r\nContent-Length: ");
    head.append(std::to_string(body.size())).append("\r\nConnection: close\r\n\r\n");
    return {std::move(head), std::move(body)};
}

HostAnswer shortAnswer(unsigned status, std::string_view headerLines) {
    const StatusRow* row = std::ranges::find(kStatuses, status, &StatusRow::status);
    if (row == std::end(kStatuses)) row = std::ranges::find(kStatuses, 400U, &StatusRow::status);
    std::string head = "HTTP/1.1 ";
    head.append(std::to_string(row->status)).append(" ").append(row->phrase).append("\r\n");
    head.append(headerLines);
    return finished(std::move(head), kPlainText, std::string(row->text).append("\n"));
}

}  // namespace

HostAnswer makeHostAnswer(unsigned status, std::string_view location) {
    std::string lines;
    if (!location.empty()) lines.append("Location: ").append(location).append("\r\n");
    if (status == 405) lines.append("Allow: GET, HEAD\r\n");
    return shortAnswer(status, lines);
}

HostAnswer makeBusyAnswer(unsigned status, std::chrono::milliseconds comeBackAfter) {
    const auto seconds = std::chrono::ceil<std::chrono::seconds>(comeBackAfter);
    return shortAnswer(status, "Retry-After: " + std::to_string(seconds.count()) + "\r\n");
}

HostAnswer makeDocument(std::string_view contentType, std::string_view headerLines,
                        std::string body) {
    std::string head = "HTTP/1.1 200 OK\r\n";
    return finished(std::move(head.append(headerLines)), contentType, std::move(body));
}

}  // namespace host
