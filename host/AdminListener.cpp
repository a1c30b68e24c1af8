#include "host/AdminListener.h"

#include <array>
#include <chrono>
#include <filesystem>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>

#include "host/Ascii.h"
#include "host/ListenAddress.h"
#include "host/Network.h"
#include "host/RequestHead.h"
#include "host/RequestTarget.h"

namespace host {
namespace {

namespace asio = boost::asio;
using asio::redirect_error;
using asio::use_awaitable;
using boost::system::error_code;
using LocalProtocol = asio::local::stream_protocol;

constexpr std::string_view kUnixPrefix = "unix:";
/// What the address of a socket has room for.
constexpr size_t kLongestPath = 107;
constexpr std::chrono::seconds kPatience{30};
constexpr size_t kPiece = 4096;

/// A file that a server left behind when it was killed is removed; one in use is not.
std::optional<std::string> clearSocketFile(const asio::any_io_executor& executor,
                                           const std::string& path) {
    error_code error;
    std::error_code ignored;
    if (!std::filesystem::is_socket(path, ignored)) return std::nullopt;
    LocalProtocol::socket probe(executor);
    probe.connect({path}, error);
    if (!error) return "another server listens there";
    std::filesystem::remove(path, ignored);
    return std::nullopt;
}

/// A page of elsewhere can have a browser on this machine ask here by a name of its own that leads
/// to a loopback address; what the browser then names gives it away.
bool isOwnName(std::string_view authority) {
    const std::string_view host = hostOfAuthority(authority);
    return host.empty() || sameText(host, "localhost") ||
           isLoopback(plainAddress(host).value_or(""));
}

}  // namespace

bool isAdminAddress(const std::string& where) {
    if (where.starts_with(kUnixPrefix)) {
        const size_t size = where.size() - kUnixPrefix.size();
        return size > 0 && size <= kLongestPath;
    }
    const auto address = parseListenAddress(where);
    return address && isLoopback(address->address);
}

std::optional<std::string> AdminListener::open(const std::string& where) {
    if (!isAdminAddress(where)) return "cannot listen for administrators on " + where;
    std::optional<std::string> problem;
    if (where.starts_with(kUnixPrefix)) {
        const std::string path = where.substr(kUnixPrefix.size());
        std::error_code ignored;
        std::filesystem::create_directory(std::filesystem::path(path).parent_path(), ignored);
        problem = clearSocketFile(acceptor_.get_executor(), path);
        if (!problem) problem = listenOn(LocalProtocol::endpoint(path));
        if (!problem) socketFile_ = path;
    } else {
        const ListenAddress address = parseListenAddress(where).value();
        problem = listenOn(
            asio::ip::tcp::endpoint(asio::ip::make_address(address.address), address.port));
    }
    if (!problem) return std::nullopt;
    return "cannot listen for administrators on " + where + ": " + *problem;
}

std::optional<std::string> AdminListener::listenOn(const Protocol::endpoint& endpoint) {
    error_code error;
    acceptor_.open(endpoint.protocol(), error);
    if (!error) acceptor_.set_option(asio::socket_base::reuse_address(true), error);
    if (!error) acceptor_.bind(endpoint, error);
    if (!error) acceptor_.listen(asio::socket_base::max_listen_connections, error);
    return error ? std::optional(error.message()) : std::nullopt;
}

void AdminListener::start() {
    asio::co_spawn(
        acceptor_.get_executor(), [this] { return accept(); }, asio::detached);
}

void AdminListener::close() {
    error_code ignored;
    acceptor_.close(ignored);
    if (socketFile_.empty()) return;
    std::error_code error;
    std::filesystem::remove(std::exchange(socketFile_, {}), error);
}

asio::awaitable<void> AdminListener::accept() {
    asio::steady_timer pause(acceptor_.get_executor());
    while (acceptor_.is_open()) {
        error_code error;
        // Shared, because the end of patience may come when the rest is over already.
        const auto socket = std::make_shared<Protocol::socket>(acceptor_.get_executor());
        co_await acceptor_.async_accept(*socket, redirect_error(use_awaitable, error));
        if (!acceptor_.is_open()) co_return;
        if (!error) {
            asio::co_spawn(
                acceptor_.get_executor(), [this, socket] { return serve(socket); }, asio::detached);
            continue;
        }
        pause.expires_after(std::chrono::milliseconds(100));
        co_await pause.async_wait(redirect_error(use_awaitable, error));
    }
}

asio::awaitable<void> AdminListener::serve(std::shared_ptr<Protocol::socket> socket) {
    asio::steady_timer patience(socket->get_executor(), kPatience);
    patience.async_wait([socket](error_code error) {
        if (!error) socket->close(error);
    });
    const Limits limits;
    HeadScanner scanner(limits);
    std::string received;
    HeadScanner::Result scanned;
    while (scanned.length == 0 && scanned.refusal == 0) {
        error_code error;
        const size_t before = received.size();
        received.resize(before + kPiece);
        const size_t count = co_await socket->async_read_some(
            asio::buffer(received.data() + before, kPiece), redirect_error(use_awaitable, error));
        if (error) co_return;
        received.resize(before + count);
        scanned = scanner.scan(received);
    }
    HostAnswer answer = makeHostAnswer(scanned.refusal);
    if (scanned.refusal == 0) answer = co_await answerTo(received.substr(0, scanned.length));
    const std::array<asio::const_buffer, 2> parts{asio::buffer(answer.head),
                                                  asio::buffer(answer.body)};
    error_code error;
    co_await asio::async_write(*socket, parts, redirect_error(use_awaitable, error));
}

asio::awaitable<HostAnswer> AdminListener::answerTo(std::string text) {
    RequestHead head;
    if (const unsigned refusal = head.parse(std::move(text))) co_return makeHostAnswer(refusal);
    if (!isOwnName(head.value("Host").value_or(""))) co_return makeHostAnswer(421);
    const auto page = pages_.find(head.target().substr(0, head.target().find('?')));
    if (page == pages_.end()) co_return makeHostAnswer(404);
    const bool bodyToo = head.method() != "HEAD";
    if (bodyToo && head.method() != "GET") co_return makeHostAnswer(405);
    HostAnswer answer = co_await page->second();
    if (!bodyToo) answer.body.clear();
    co_return answer;
}

}  // namespace host
