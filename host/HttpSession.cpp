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
#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>

#include "host/ExtensionCall.h"
#include "host/HostAnswer.h"
#include "host/Request.h"
#include "host/RequestBody.h"
#include "host/Routes.h"
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

std::string addressText(asio::ip::address address) {
    if (address.is_v4()) return address.to_string();
    asio::ip::address_v6 v6 = address.to_v6();
    if (v6.is_v4_mapped()) return asio::ip::make_address_v4(asio::ip::v4_mapped, v6).to_string();
    v6.scope_id(0);
    return v6.to_string();
}

template <typename Stream>
class HttpSession final : public Connection,
                          public std::enable_shared_from_this<HttpSession<Stream>> {
  public:
    template <typename... StreamArguments>
    explicit HttpSession(SessionServices& services, StreamArguments&&... arguments)
        : services_(services),
          limits_(services.limits),
          stream_(std::forward<StreamArguments>(arguments)...),
          buffer_(limits_.maxHead + kBodyPiece) {
        services_.connections.add(*this);
    }
    ~HttpSession() override { services_.connections.remove(*this); }

    awaitable<void> run() {
        if (!describeConnection()) co_return;
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

    void closeIfIdle() override {
        if (buffer_.size() == 0 && !parser_) socket().close();
    }

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

    bool describeConnection();
    awaitable<void> serve();
    awaitable<ReadResult> readHead();
    unsigned acceptHead(size_t length);
    awaitable<void> serveExtension();
    awaitable<unsigned> readBody();
    awaitable<bool> runExtension();
    awaitable<void> sendHostAnswer(HostAnswer answer);
    awaitable<bool> send(std::string_view head, std::string_view body);
    awaitable<void> finish();

    SessionServices& services_;
    const Limits& limits_;
    Stream stream_;
    beast::flat_buffer buffer_;
    std::optional<http::request_parser<RequestBody>> parser_;
    Request request_;
    std::optional<ExtensionCall> call_;
};

template <typename Stream>
bool HttpSession<Stream>::describeConnection() {
    error_code error;
    tcp::socket& plain = socket().socket();
    const tcp::endpoint remote = plain.remote_endpoint(error);
    if (error) return false;
    const tcp::endpoint local = plain.local_endpoint(error);
    if (error) return false;
    plain.set_option(tcp::no_delay(true), error);
    request_.connection = {addressText(remote.address()), remote.port(),
                           addressText(local.address()), local.port(), kTls};
    return true;
}

template <typename Stream>
awaitable<void> HttpSession<Stream>::serve() {
    ReadResult refusal = co_await readHead();
    if (!refusal) co_return;
    if (*refusal != 0) {
        co_await sendHostAnswer(makeHostAnswer(*refusal));
        co_return;
    }
    const Route route = routeOf(request_.head.method(), request_.target.path);
    if (route.kind == Route::Kind::kExtension) {
        co_await serveExtension();
    } else if (route.kind == Route::Kind::kRedirect) {
        co_await sendHostAnswer(makeHostAnswer(308, route.location));
    } else if (route.kind == Route::Kind::kSetup) {
        co_await sendHostAnswer(setupAnswer(request_));
    } else {
        co_await sendHostAnswer(makeHostAnswer(404));
    }
}

template <typename Stream>
awaitable<ReadResult> HttpSession<Stream>::readHead() {
    HeadScanner scanner(limits_);
    socket().expires_after(limits_.headTime);
    for (;;) {
        error_code error;
        const size_t count = co_await stream_.async_read_some(buffer_.prepare(kHeadPiece),
                                                              redirect_error(use_awaitable, error));
        if (error) co_return std::nullopt;
        buffer_.commit(count);
        const HeadScanner::Result result = scanner.scan(received());
        if (result.refusal != 0) co_return result.refusal;
        if (result.length != 0) co_return acceptHead(result.length);
    }
}

/// Takes the head apart, and has the body's parser agree on it.
template <typename Stream>
unsigned HttpSession<Stream>::acceptHead(size_t length) {
    if (const unsigned refusal = request_.head.parse(std::string(received().substr(0, length)))) {
        return refusal;
    }
    std::optional<RequestTarget> target = parseRequestTarget(request_.head.target());
    if (!target) return 400;
    if (target->path.size() > limits_.maxPath) return 414;
    request_.target = std::move(*target);

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
    const unsigned refusal = co_await readBody();
    if (refusal != 0) {
        co_await sendHostAnswer(makeHostAnswer(refusal));
        co_return;
    }
    call_.emplace(request_);
    const bool accepted = co_await runExtension();
    if (!accepted) {
        co_await sendHostAnswer(makeHostAnswer(503));
        co_return;
    }
    // A client may take its time over the answer; the request need not stay for that.
    request_.body = std::string();
    co_await send(call_->answerHead(), call_->answerBody());
}

/// The status to refuse the request with, or 0. A body that is cut short is the extension's to
/// judge, with what came of it.
template <typename Stream>
awaitable<unsigned> HttpSession<Stream>::readBody() {
    const Clock::time_point end = Clock::now() + limits_.transferTime;
    if (request_.head.expectsContinue() && !parser_->is_done() && buffer_.size() == 0)
        co_await send(kContinue, {});
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
        if (error) {
            request_.cutShort = systemErrorOf(error);
            break;
        }
    }
    request_.body = std::move(parser_->get().body());
    co_return 0;
}

/// False when the queue of the workers is full.
template <typename Stream>
awaitable<bool> HttpSession<Stream>::runExtension() {
    auto initiate = [self = this->shared_from_this()](auto handler) {
        auto resume = std::make_shared<decltype(handler)>(std::move(handler));
        // The session goes back to its event loop with the result: it must not end elsewhere.
        const auto complete = [](auto session, decltype(resume) waiting, bool accepted) {
            const auto executor = session->executor();
            asio::post(executor, [session = std::move(session), waiting = std::move(waiting),
                                  accepted] { (*waiting)(accepted); });
        };
        const bool accepted = self->services_.pool.submit([self, resume, complete]() mutable {
            self->call_->run(self->services_.module);
            complete(std::move(self), std::move(resume), true);
        });
        if (!accepted) complete(self, resume, false);
    };
    auto token = use_awaitable;
    return asio::async_initiate<decltype(token), void(bool)>(std::move(initiate), token);
}

template <typename Stream>
awaitable<void> HttpSession<Stream>::sendHostAnswer(HostAnswer answer) {
    if (request_.head.method() == "HEAD") answer.body.clear();
    co_await send(answer.head, answer.body);
}

template <typename Stream>
awaitable<bool> HttpSession<Stream>::send(std::string_view head, std::string_view body) {
    const std::array<asio::const_buffer, 2> parts{asio::buffer(head), asio::buffer(body)};
    beast::buffers_suffix<std::array<asio::const_buffer, 2>> rest(parts);
    const Clock::time_point end = Clock::now() + limits_.transferTime;
    while (beast::buffer_bytes(rest) > 0) {
        error_code error;
        expectPieceBefore(end);
        const size_t count =
            co_await stream_.async_write_some(rest, redirect_error(use_awaitable, error));
        if (error) co_return false;
        rest.consume(count);
    }
    co_return true;
}

/// Closes so that the client sees all of the answer: bytes of it that still come in would make the
/// system reset the connection and throw away what the client has not read.
template <typename Stream>
awaitable<void> HttpSession<Stream>::finish() {
    error_code error;
    socket().expires_after(limits_.lingerTime);
    if constexpr (kTls) {
        co_await stream_.async_shutdown(redirect_error(use_awaitable, error));
    }
    socket().socket().shutdown(tcp::socket::shutdown_send, error);
    buffer_.clear();
    while (!error) {
        co_await socket().async_read_some(buffer_.prepare(kHeadPiece),
                                          redirect_error(use_awaitable, error));
    }
    socket().close();
}

template <typename Stream, typename... StreamArguments>
void start(SessionServices& services, StreamArguments&&... arguments) {
    auto session = std::make_shared<HttpSession<Stream>>(
        services, std::forward<StreamArguments>(arguments)...);
    const auto executor = session->executor();
    asio::co_spawn(
        executor, [session = std::move(session)] { return session->run(); }, asio::detached);
}

}  // namespace

void startSession(tcp::socket socket, SessionServices& services) {
    start<PlainStream>(services, std::move(socket));
}

void startTlsSession(tcp::socket socket, asio::ssl::context& tls, SessionServices& services) {
    start<TlsStream>(services, std::move(socket), tls);
}

}  // namespace host
