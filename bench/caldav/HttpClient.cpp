#include "bench/caldav/HttpClient.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

namespace bench {
namespace {

constexpr timeval kPatience{60, 0};
constexpr size_t kLongestHead = size_t{64} * 1024;
constexpr size_t kLongestAnswer = size_t{1} << 30U;

bool sameText(std::string_view a, std::string_view b) {
    return a.size() == b.size() && ::strncasecmp(a.data(), b.data(), a.size()) == 0;
}

bool parseNumber(std::string_view text, size_t& number, int base) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return error == std::errc() && end != text.data() && number <= kLongestAnswer;
}

}  // namespace

bool HttpClient::connect() {
    socket_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port_);
    if (::inet_pton(AF_INET, host_.c_str(), &address.sin_addr) != 1) return false;
    const int on = 1;
    ::setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);
    ::setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof kPatience);
    return ::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

void HttpClient::close() {
    if (socket_ >= 0) ::close(socket_);
    socket_ = -1;
}

bool HttpClient::send(std::string_view bytes) const {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) return false;
        bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
}

/// False at the end of the connection too.
bool HttpClient::receive() {
    ssize_t count = 0;
    do {
        count = ::recv(socket_, piece_.data(), piece_.size(), 0);
    } while (count < 0 && errno == EINTR);
    if (count > 0) input_.append(piece_.data(), static_cast<size_t>(count));
    return count > 0;
}

bool HttpClient::readUpTo(size_t length) {
    while (input_.size() < length) {
        if (!receive()) return false;
    }
    return true;
}

bool HttpClient::readHead(HttpAnswer& answer) {
    size_t end = std::string::npos;
    while ((end = input_.find("\r\n\r\n")) == std::string::npos) {
        if (input_.size() > kLongestHead || !receive()) return false;
    }
    headEnd_ = end + 4;
    size_t status = 0;
    if (!input_.starts_with("HTTP/1.") || !parseNumber(input_.substr(9, 3), status, 10)) {
        return false;
    }
    answer.status = static_cast<int>(status);
    return true;
}

/// The value of a header of the answer; empty without one.
std::string_view HttpClient::header(std::string_view name) const {
    std::string_view rest(input_.data(), headEnd_ - 2);
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find("\r\n"));
        rest.remove_prefix(line.size() + 2);
        const size_t colon = line.find(':');
        if (colon == std::string_view::npos || !sameText(line.substr(0, colon), name)) continue;
        return line.substr(std::min(line.size(), line.find_first_not_of(' ', colon + 1)));
    }
    return {};
}

bool HttpClient::readChunks(HttpAnswer& answer) {
    for (size_t at = headEnd_;;) {
        size_t lineEnd = std::string::npos;
        while ((lineEnd = input_.find("\r\n", at)) == std::string::npos) {
            if (!receive()) return false;
        }
        size_t length = 0;
        if (!parseNumber(std::string_view(input_).substr(at, lineEnd - at), length, 16)) {
            return false;
        }
        at = lineEnd + 2;
        if (!readUpTo(at + length + 2)) return false;
        if (length == 0) return true;
        answer.body.append(input_, at, length);
        at += length + 2;
    }
}

bool HttpClient::readBody(HttpAnswer& answer) {
    if (answer.status == 204 || answer.status == 304) return true;
    if (sameText(header("Transfer-Encoding"), "chunked")) return readChunks(answer);
    const std::string_view told = header("Content-Length");
    size_t length = 0;
    if (told.empty()) {
        while (receive()) {
        }
    } else if (!parseNumber(told, length, 10) || !readUpTo(headEnd_ + length)) {
        return false;
    }
    answer.body = input_.substr(headEnd_);
    return true;
}

HttpAnswer HttpClient::ask(std::string_view request) {
    HttpAnswer answer;
    // A kept connection may have been closed meanwhile; the second try is on one of its own.
    const bool kept = socket_ >= 0;
    if (!kept && !connect()) answer.problem = std::string("no connection: ") + ::strerror(errno);
    input_.clear();
    if (answer.problem.empty() && (!send(request) || !readHead(answer))) {
        close();
        if (kept) return ask(request);
        answer.problem = "no answer";
    } else if (answer.problem.empty() && !readBody(answer)) {
        answer.problem = "the answer ends early";
    }
    answer.received = input_.size();
    const bool keep = input_.starts_with("HTTP/1.1") ? !sameText(header("Connection"), "close")
                                                     : sameText(header("Connection"), "keep-alive");
    if (!keep || !answer.problem.empty()) close();
    return answer;
}

}  // namespace bench
