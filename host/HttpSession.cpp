#include "host/HttpSession.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>
#include <openssl/ssl.h>

#include "host/HostAnswer.h"
#include "host/RunOnPool.h"

namespace host {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
using asio::awaitable;
using asio::redirect_error;
using asio::use_awaitable;
using asio::ip::tcp;
using beast::error_code;
using Clock = std::chrono::steady_clock;
using PlainStream = beast::tcp_stream;
using TlsStream = beast::ssl_stream<beast::tcp_stream>;
using Buffers = std::array<asio::const_buffer, 2>;

constexpr size_t kPiece = 4 * 1024;

/// What the reading of a head came to: a status to refuse the request with, 0 to go on, or nothing
/// when there is no one left to answer.
using ReadResult = std::optional<unsigned>;

/// What the extension is told of a connection that failed: 0 when the client closed it.
uint32_t systemErrorOf(error_code error) {
    if (error == asio::error::eof || error == asio::ssl::error::stream_truncated) return 0;
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
    HttpSession(SessionServices& services, std::unique_ptr<Transaction> transaction,
                StreamArguments&&... arguments)
        : services_(services),
          limits_(services.limits),
          transaction_(std::move(transaction)),
          stream_(std::forward<StreamArguments>(arguments)...) {
        // What cannot be done at once is waited for, never blocked on; told once.
        error_code ignored;
        socket().socket().non_blocking(true, ignored);
        services_.connections.add(*this);
        if (transaction_->readHead()) services_.connections.endWait(*this);
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

    /// The time by which the next piece must have come or gone.
    void expectPieceBefore(Clock::time_point end) {
        socket().expires_at(std::min(Clock::now() + limits_.pieceTime, end));
    }

    awaitable<void> serve();
    awaitable<ReadResult> readHead();
    awaitable<void> answer();
    awaitable<bool> admitLogin();
    awaitable<unsigned> readBody();
    awaitable<void> send();
    size_t sendAtOnce(const Buffers& unsent, error_code& error);
    bool hasReadAll();
    awaitable<void> finish();

    SessionServices& services_;
    const Limits& limits_;
    std::unique_ptr<Transaction> transaction_;
    Stream stream_;
};

template <typename Stream>
awaitable<void> HttpSession<Stream>::serve() {
    if (!transaction_->isAnswered()) {
        const ReadResult refusal = co_await readHead();
        services_.connections.endWait(*this);
        if (!refusal) co_return;
        if (*refusal == 0) {
            co_await answer();
        } else {
            transaction_->refuse(*refusal);
        }
    }
    co_await send();
    transaction_->isOver();
}

template <typename Stream>
awaitable<ReadResult> HttpSession<Stream>::readHead() {
    socket().expires_after(limits_.headTime);
    for (;;) {
        if (const ReadResult result = transaction_->readHead()) co_return result;
        error_code error;
        const size_t count = co_await stream_.async_read_some(transaction_->room(kPiece),
                                                              redirect_error(use_awaitable, error));
        if (error) co_return std::nullopt;
        transaction_->came(count);
    }
}

template <typename Stream>
awaitable<void> HttpSession<Stream>::answer() {
    if (!transaction_->isForExtension()) co_return transaction_->answerItself();
    if (!transaction_->hasRoom()) co_return transaction_->refuse(503);
    const bool admitted = co_await admitLogin();
    if (!admitted) co_return;
    const unsigned refusal = co_await readBody();
    if (refusal != 0) co_return transaction_->refuse(refusal);
    WorkerPool::Job job = [self = this->shared_from_this()] {
        self->transaction_->callExtension();
    };
    const bool accepted = co_await runOnPool(services_.pool, std::move(job));
    if (!accepted) transaction_->refuse(503);
}

/// Lets those wait whose logins fail, or refuses them; false then.
template <typename Stream>
awaitable<bool> HttpSession<Stream>::admitLogin() {
    for (;;) {
        const PenaltyBox::Verdict verdict = transaction_->judgeLogin();
        if (verdict.refused) {
            transaction_->answerWith(makePenaltyAnswer(verdict.wait));
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
    const Clock::time_point end = Clock::now() + limits_.transferTime;
    transaction_->welcomeBody();
    co_await send();
    for (;;) {
        if (const unsigned refusal = transaction_->readBody()) co_return refusal;
        if (transaction_->bodyIsWhole()) co_return 0;
        const asio::mutable_buffer room = transaction_->roomForBody();
        if (room.size() == 0) co_return 400;
        error_code error;
        expectPieceBefore(end);
        const size_t count =
            co_await stream_.async_read_some(room, redirect_error(use_awaitable, error));
        if (error) {
            transaction_->bodyIsCutShort(systemErrorOf(error));
            co_return 0;
        }
        transaction_->came(count);
    }
}

template <typename Stream>
awaitable<void> HttpSession<Stream>::send() {
    const Clock::time_point end = Clock::now() + limits_.transferTime;
    for (;;) {
        const auto& [first, second] = transaction_->unsent();
        if (first.empty()) co_return;
        const Buffers unsent{asio::buffer(first), asio::buffer(second)};
        error_code error;
        size_t count = sendAtOnce(unsent, error);
        if (error == asio::error::would_block) {
            expectPieceBefore(end);
            count = co_await stream_.async_write_some(unsent, redirect_error(use_awaitable, error));
        }
        if (error) co_return;
        transaction_->sent(count);
    }
}

/// What the system takes now, without a timer or a turn of the loop: mostly the whole answer.
template <typename Stream>
size_t HttpSession<Stream>::sendAtOnce(const Buffers& unsent, error_code& error) {
    if constexpr (kTls) {
        error = asio::error::would_block;
        return 0;
    } else {
        return socket().socket().write_some(unsent, error);
    }
}

/// Whether nothing of the client's is left unread, nor likely to come.
template <typename Stream>
bool HttpSession<Stream>::hasReadAll() {
    error_code error;
    return transaction_->hasReadAll() && socket().socket().available(error) == 0 && !error;
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
        transaction_->dropUnread();
        while (!error) {
            co_await socket().async_read_some(transaction_->room(kPiece),
                                              redirect_error(use_awaitable, error));
        }
    }
    socket().close();
}

template <typename Stream, typename... StreamArguments>
void start(SessionServices& services, std::unique_ptr<Transaction> transaction,
           StreamArguments&&... arguments) {
    auto session = std::make_shared<HttpSession<Stream>>(
        services, std::move(transaction), std::forward<StreamArguments>(arguments)...);
    const auto executor = session->executor();
    asio::co_spawn(
        executor, [session = std::move(session)] { return session->run(); }, asio::detached);
}

}  // namespace

void startSession(tcp::socket socket, std::unique_ptr<Transaction> transaction,
                  SessionServices& services) {
    start<PlainStream>(services, std::move(transaction), std::move(socket));
}

void startTlsSession(tcp::socket socket, ConnectionInfo connection, asio::ssl::context& tls,
                     SessionServices& services) {
    start<TlsStream>(services, std::make_unique<Transaction>(std::move(connection), services),
                     std::move(socket), tls);
}

}  // namespace host
