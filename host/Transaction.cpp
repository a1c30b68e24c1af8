#include "host/Transaction.h"

#include <algorithm>
#include <utility>

#include "host/SetupPage.h"

namespace host {
namespace {

constexpr size_t kBodyPiece = 64 * 1024;
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";

}  // namespace

Transaction::Transaction(ConnectionInfo connection, SessionServices& services)
    : services_(services),
      exchange_(std::move(connection), services),
      request_(exchange_.request()),
      buffer_(services.limits.maxHead + kBodyPiece),
      scanner_(services.limits) {}

boost::asio::mutable_buffer Transaction::room(size_t size) {
    return buffer_.prepare(std::min(size, buffer_.max_size() - buffer_.size()));
}

std::string_view Transaction::received() const {
    return {static_cast<const char*>(buffer_.cdata().data()), buffer_.size()};
}

std::optional<unsigned> Transaction::readHead() {
    if (headResult_) return headResult_;
    if (!lineBegan_) lineBegan_ = skipEmptyLine();
    if (!lineBegan_) return std::nullopt;
    const HeadScanner::Result result = scanner_.scan(received());
    if (result.refusal != 0) {
        headResult_ = result.refusal;
    } else if (result.length != 0) {
        headResult_ = acceptHead(result.length);
    }
    return headResult_;
}

/// Some clients end what they sent before with one line end too many (RFC 9112, 2.2). False when it
/// is not known yet whether there is one.
bool Transaction::skipEmptyLine() {
    if (kLineEnd.starts_with(received()) && received() != kLineEnd) return false;
    if (received().starts_with(kLineEnd)) buffer_.consume(kLineEnd.size());
    return true;
}

unsigned Transaction::acceptHead(size_t length) {
    if (const unsigned refusal = request_.head.parse(std::string(received().substr(0, length)))) {
        return refusal;
    }
    std::optional<RequestTarget> target =
        parseRequestTarget(request_.head.target(), request_.head.method());
    if (!target) return 400;
    if (target->path.size() > services_.limits.maxPath) return 414;
    request_.target = std::move(*target);
    exchange_.headIsWhole();

    if (request_.head.contentLength().value_or(0) > services_.limits.maxBody) return 413;
    buffer_.consume(length);
    body_.emplace(request_.head, services_.limits.maxBody);
    return 0;
}

unsigned Transaction::readBody() {
    if (const unsigned refusal = body_->take(buffer_)) return refusal;
    if (!exchange_.holdBody(body_->size())) return 503;
    if (body_->isWhole()) exchange_.isWhole();
    return 0;
}

boost::asio::mutable_buffer Transaction::roomForBody() {
    return room(
        static_cast<size_t>(std::min<uint64_t>(body_->missing().value_or(kBodyPiece), kBodyPiece)));
}

/// Tells so a client that waits for that before it sends its body.
void Transaction::welcomeBody() {
    const bool hasBegun = buffer_.size() > 0 || body_->size() > 0;
    if (request_.head.expectsContinue() && !hasBegun && !bodyIsWhole()) unsent_ = {kContinue, {}};
}

void Transaction::bodyIsCutShort(uint32_t error) {
    request_.cutShort = error != 0 ? error : brokenBy_;
    exchange_.isWhole();
}

bool Transaction::isForExtension() const {
    return routeOf(request_.head.method(), request_.target.path).kind == Route::Kind::kExtension;
}

bool Transaction::admitsLogin() {
    verdict_ = exchange_.judgeLogin();
    return !verdict_->refused && !verdict_->again && verdict_->wait.count() == 0;
}

PenaltyBox::Verdict Transaction::judgeLogin() {
    if (verdict_) return *std::exchange(verdict_, std::nullopt);
    return exchange_.judgeLogin();
}

void Transaction::callExtension() {
    request_.body = body_->takeText();
    call_.emplace(request_);
    call_->run(services_.module);
    // A client may take its time over the answer; the request need not stay for that.
    request_.body = std::string();
    exchange_.extensionAnswers(call_->answerHead(), call_->answerBody());
    unsent_ = {call_->answerHead(), call_->answerBody()};
    isAnswered_ = true;
}

void Transaction::answerItself() {
    const Route route = routeOf(request_.head.method(), request_.target.path);
    switch (route.kind) {
        case Route::Kind::kRedirect:
            return answerWith(makeHostAnswer(308, route.location));
        case Route::Kind::kSetup:
            return answerWith(setupAnswer(request_));
        case Route::Kind::kNothing:
            return answerWith(makeHostAnswer(200));
        default:
            return answerWith(makeHostAnswer(404));
    }
}

void Transaction::answerWith(HostAnswer answer) {
    own_ = std::move(answer);
    if (request_.head.method() == "HEAD") own_.body.clear();
    exchange_.answers(own_.head);
    unsent_ = {own_.head, own_.body};
    isAnswered_ = true;
}

void Transaction::sent(size_t size) {
    exchange_.sent(size);
    for (std::string_view& piece : unsent_) {
        const size_t taken = std::min(size, piece.size());
        piece.remove_prefix(taken);
        size -= taken;
    }
    if (unsent_.front().empty()) std::swap(unsent_.front(), unsent_.back());
}

bool Transaction::hasReadAll() const {
    return body_ && body_->missing() == buffer_.size();
}

void Transaction::isOver() {
    exchange_.isOver();
    unsent_ = {};
    call_.reset();
}

}  // namespace host
