#include "host/HttpSession.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>
#include <openssl/ssl.h>

#include "host/Exchange.h"
#include "host/ExtensionCall.h"
#include "host/HostAnswer.h"
#include "host/RequestBody.h"
#include "host/Routes.h"
#include "host/RunOnPool.h"
#include "host/SetupPage.h"

namespace host {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using asio::awaitable;
using asio::redirect_error;
using asio::use_awaitable;
using asio::ip::tcp;
using beast::error_code;
using Clock = std::chrono::steady_clock;
using PlainStream = beast::tcp_stream;
using TlsStream = beast::ssl_stream<beast::tcp_stream>;

constexpr size_t kHeadPiece = 4 * 1024;
constexpr size_t kBodyPiece = 64 * 1024;
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";

/// What the reading of a head came to: a status to refuse the request with, 0 to go on, or nothing
/// when there is no one left to answer.
using ReadResult = std::optional<unsigned>;

/// The status that a parser's error is refused with; 0 when it is none of the client's text.
unsigned refusalOf(error_code error) {
    if (error == http::error::body_limit) return 413;
    const bool malformed =
        error.category() == http::make_error_code(http::error::need_more).category() &&
        error != http::error::partial_message && error != http::error::end_of_stream;
    return malformed ? 400 : 0;
}

/// What the extension is told of a connection that failed: 0 when the client closed it.
uint32_t systemErrorOf(error_code error) {
    if (error == http::error::partial_message || error == asio::ssl::error::stream_truncated)
        return 0;
    if (error == beast::error::timeout) error = asio::error::timed_out;
    if (error.category() != boost::system::system_category())
        error = asio::error::connection_aborted;
    return static_cast<uint32_t>(error.value());
}

template <typename Stream>
class HttpSession final : public Connection,
                          public std::enable_shared_from_this<HttpSession<Stream>> {
  public:
    template <typename... StreamArguments>
    HttpSession(SessionServices& services, ConnectionInfo connection,
                StreamArguments&&... arguments)
        : services_(services),
          limits_(services.limits),
          exchange_(std::move(connection), services),
          request_(exchange_.request()),
          stream_(std::forward<StreamArguments>(arguments)...),
          buffer_(limits_.maxHead + kBodyPiece) {
        // What cannot be done at once is waited for, never blocked on; told once.
        error_code ignored;
        socket().socket().non_blocking(true, ignored);
        services_.connections.add(*this);
    }
    ~HttpSession() override { services_.connections.remove(*this); }

    awaitable<void> run() {
        if constexpr (kTls) {
            error_code error;
            socket().expires_after(limits_.headTime);
            co_await stream_.async_handshake(asio::ssl::stream_base::server,
                                             redirect_error(use_awaitable, error));
            if (error) co_return;
        }
        co_await serve();
        co_await finish();
    }

    asio::any_io_executor executor() { return stream_.get_executor(); }

    void close() override { socket().close(); }

  private:
    static constexpr bool kTls = std::is_same_v<Stream, TlsStream>;

    beast::tcp_stream& socket() { return beast::get_lowest_layer(stream_); }

    std::string_view received() const {
        return {static_cast<const char*>(buffer_.cdata().data()), buffer_.size()};
    }

    /// The time by which the next piece must have come or gone.
    void expectPieceBefore(Clock::time_point end) {
        socket().expires_at(std::min(Clock::now() + limits_.pieceTime, end));
    }

    awaitable<void> serve();
    awaitable<void> answer();
    HostAnswer ownAnswer(const Route& route) const;
    awaitable<ReadResult> readHead();
    bool skipEmptyLine();
    unsigned acceptHead(size_t length);
    awaitable<void> serveExtension();
    awaitable<bool> admitLogin();
    awaitable<unsigned> readBody();
    awaitable<void> sendHostAnswer(HostAnswer answer);
    awaitable<bool> send(std::string_view head, std::string_view body);
    template <typename Buffers>
    size_t sendAtOnce(const Buffers& rest, error_code& error);
    bool hasReadAll();
    awaitable<void> finish();

    SessionServices& services_;
    const Limits& limits_;
    Exchange exchange_;
    Request& request_;
    Stream stream_;
    beast::flat_buffer buffer_;
    std::optional<http::request_parser<RequestBody>> parser_;
    std::optional<ExtensionCall> call_;
};

template <typename Stream>
awaitable<void> HttpSession<Stream>::serve() {
    const ReadResult refusal = co_await readHead();
    services_.connections.endWait(*this);
    if (!refusal) co_return;
    if (*refusal == 0) {
        co_await answer();
    } else {
        co_await sendHostAnswer(makeHostAnswer(*refusal));
    }
    exchange_.isOver();
    call_.reset();
}

template <typename Stream>
awaitable<void> HttpSession<Stream>::answer() {
    const Route route = routeOf(request_.head.method(), request_.target.path);
    if (route.kind == Route::Kind::kExtension) {
        co_await serveExtension();
    } else {
        co_await sendHostAnswer(ownAnswer(route));
    }
}

template <typename Stream>
HostAnswer HttpSession<Stream>::ownAnswer(const Route& route) const {
    switch (route.kind) {
        case Route::Kind::kRedirect:
            return makeHostAnswer(308, route.location);
        case Route::Kind::kSetup:
            return setupAnswer(request_);
        case Route::Kind::kNothing:
            return makeHostAnswer(200);
        default:
            return makeHostAnswer(404);
    }
}

template <typename Stream>
awaitable<ReadResult> HttpSession<Stream>::readHead() {
    HeadScanner scanner(limits_);
    bool lineBegan = false;
    socket().expires_after(limits_.headTime);
    for (;;) {
        error_code error;
        const size_t count = co_await stream_.async_read_some(buffer_.prepare(kHeadPiece),
                                                              redirect_error(use_awaitable, error));
        if (error) co_return std::nullopt;
        buffer_.commit(count);
        if (!lineBegan) lineBegan = skipEmptyLine();
        if (!lineBegan) continue;
        const HeadScanner::Result result = scanner.scan(received());
        if (result.refusal != 0) co_return result.refusal;
        if (result.length != 0) co_return acceptHead(result.length);
    }
}

/// Some clients end what they sent before with one line end too many (RFC 9112, 2.2). False when it
/// is not known yet whether there is one.
template <typename Stream>
bool HttpSession<Stream>::skipEmptyLine() {
    if (kLineEnd.starts_with(received()) && received() != kLineEnd) return false;
    if (received().starts_with(kLineEnd)) buffer_.consume(kLineEnd.size());
    return true;
}

/// Takes the head apart, and has the body's parser agree on it.
template <typename Stream>
unsigned HttpSession<Stream>::acceptHead(size_t length) {
    if (const unsigned refusal = request_.head.parse(std::string(received().substr(0, length)))) {
        return refusal;
    }
    std::optional<RequestTarget> target =
        parseRequestTarget(request_.head.target(), request_.head.method());
    if (!target) return 400;
    if (target->path.size() > limits_.maxPath) return 414;
    request_.target = std::move(*target);
    exchange_.headIsWhole();

    parser_.emplace();
    parser_->header_limit(static_cast<uint32_t>(length + 1));
    parser_->body_limit(limits_.maxBody);
    while (!parser_->is_header_done()) {
        error_code error;
        buffer_.consume(parser_->put(buffer_.data(), error));
        if (!error) continue;
        const unsigned refusal = refusalOf(error);
        return refusal != 0 ? refusal : 400;
    }
    return 0;
}

template <typename Stream>
awaitable<void> HttpSession<Stream>::serveExtension() {
    if (!exchange_.hasRoom()) {
        co_await sendHostAnswer(makeHostAnswer(503));
        co_return;
    }
    const bool admitted = co_await admitLogin();
    if (!admitted) co_return;
    const unsigned refusal = co_await readBody();
    if (refusal != 0) {
        co_await sendHostAnswer(makeHostAnswer(refusal));
        co_return;
    }
    exchange_.isWhole();
    call_.emplace(request_);
    WorkerPool::Job job = [self = this->shared_from_this()] {
        self->call_->run(self->services_.module);
    };
    const bool accepted = co_await runOnPool(services_.pool, std::move(job));
    if (!accepted) {
        co_await sendHostAnswer(makeHostAnswer(503));
        co_return;
    }
    // A client may take its time over the answer; the request need not stay for that.
    request_.body = std::string();
    exchange_.extensionAnswers(call_->answerHead(), call_->answerBody());
    co_await send(call_->answerHead(), call_->answerBody());
}

/// Lets those wait whose logins fail, or refuses them; false then.
template <typename Stream>
awaitable<bool> HttpSession<Stream>::admitLogin() {
    for (;;) {
        const PenaltyBox::Verdict verdict = exchange_.judgeLogin();
        if (verdict.refused) {
            co_await sendHostAnswer(makePenaltyAnswer(verdict.wait));
            co_return false;
        }
        if (verdict.wait.count() > 0) {
            asio::steady_timer pause(executor(), verdict.wait);
            error_code error;
            co_await pause.async_wait(redirect_error(use_awaitable, error));
        }
        if (!verdict.again) co_return true;
    }
}

/// The status to refuse the request with, or 0. A body that is cut short is the extension's to
/// judge, with what came of it.
template <typename Stream>
awaitable<unsigned> HttpSession<Stream>::readBody() {
    if (parser_->is_done()) co_return 0;
    const Clock::time_point end = Clock::now() + limits_.transferTime;
    if (request_.head.expectsContinue() && buffer_.size() == 0) co_await send(kContinue, {});
    parser_->eager(true);
    // Left to itself the buffer asks the socket for 512 bytes at a time.
    const uint64_t remaining = parser_->content_length_remaining().value_or(kBodyPiece);
    buffer_.reserve(static_cast<size_t>(std::min<uint64_t>(remaining, kBodyPiece)));
    while (!parser_->is_done()) {
        error_code error;
        expectPieceBefore(end);
        co_await http::async_read_some(stream_, buffer_, *parser_,
                                       redirect_error(use_awaitable, error));
        if (const unsigned refusal = refusalOf(error)) co_return refusal;
        if (!exchange_.holdBody(parser_->get().body().size())) co_return 503;
        if (error) {
            request_.cutShort = systemErrorOf(error);
            break;
        }
    }
    request_.body = std::move(parser_->get().body());
    co_return 0;
}

template <typename Stream>
awaitable<void> HttpSession<Stream>::sendHostAnswer(HostAnswer answer) {
    if (request_.head.method() == "HEAD") answer.body.clear();
    exchange_.answers(answer.head);
    co_await send(answer.head, answer.body);
}

template <typename Stream>
awaitable<bool> HttpSession<Stream>::send(std::string_view head, std::string_view body) {
    const std::array<asio::const_buffer, 2> parts{asio::buffer(head), asio::buffer(body)};
    beast::buffers_suffix<std::array<asio::const_buffer, 2>> rest(parts);
    const Clock::time_point end = Clock::now() + limits_.transferTime;
    while (beast::buffer_bytes(rest) > 0) {
        error_code error;
        size_t count = sendAtOnce(rest, error);
        if (error == asio::error::would_block) {
            expectPieceBefore(end);
            count = co_await stream_.async_write_some(rest, redirect_error(use_awaitable, error));
        }
        if (error) co_return false;
        exchange_.sent(count);
        rest.consume(count);
    }
    co_return true;
}

/// What the system takes now, without a timer or a turn of the loop: mostly the whole answer.
template <typename Stream>
template <typename Buffers>
size_t HttpSession<Stream>::sendAtOnce(const Buffers& rest, error_code& error) {
    if constexpr (kTls) {
        error = asio::error::would_block;
        return 0;
    } else {
        return socket().socket().write_some(rest, error);
    }
}

/// Whether nothing of the client's is left unread, nor likely to come.
template <typename Stream>
bool HttpSession<Stream>::hasReadAll() {
    if (!parser_ || !parser_->is_header_done()) return false;
    const uint64_t toCome =
        parser_->is_done() ? 0 : parser_->content_length_remaining().value_or(UINT64_MAX);
    if (buffer_.size() != toCome) return false;
    error_code error;
    return socket().socket().available(error) == 0 && !error;
}

/// Closes so that the client sees all of the answer: bytes of it that still come in would make the
/// system reset the connection and throw away what the client has not read.
template <typename Stream>
awaitable<void> HttpSession<Stream>::finish() {
    error_code error;
    const bool atOnce = hasReadAll();
    socket().expires_after(limits_.lingerTime);
    if constexpr (kTls) {
        // The end is told, but that the client tells it too is not waited for.
        if (atOnce) SSL_set_shutdown(stream_.native_handle(), SSL_RECEIVED_SHUTDOWN);
        co_await stream_.async_shutdown(redirect_error(use_awaitable, error));
    }
    if (!atOnce) {
        socket().socket().shutdown(tcp::socket::shutdown_send, error);
        buffer_.clear();
        while (!error) {
            co_await socket().async_read_some(buffer_.prepare(kHeadPiece),
                                              redirect_error(use_awaitable, error));
        }
    }
    socket().close();
}

template <typename Stream, typename... StreamArguments>
void start(SessionServices& services, ConnectionInfo connection, StreamArguments&&... arguments) {
    auto session = std::make_shared<HttpSession<Stream>>(
        services, std::move(connection), std::forward<StreamArguments>(arguments)...);
    const auto executor = session->executor();
    asio::co_spawn(
        executor, [session = std::move(session)] { return session->run(); }, asio::detached);
}

}  // namespace

void startSession(tcp::socket socket, ConnectionInfo connection, SessionServices& services) {
    start<PlainStream>(services, std::move(connection), std::move(socket));
}

void startTlsSession(tcp::socket socket, ConnectionInfo connection, asio::ssl::context& tls,
                     SessionServices& services) {
    start<TlsStream>(services, std::move(connection), std::move(socket), tls);
}

}  // namespace host
