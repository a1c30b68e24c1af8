#include "host/Exchange.h"

#include <utility>

#include "host/HostAnswer.h"

namespace host {
namespace {

constexpr unsigned kUnauthorized = 401;
constexpr unsigned kFirstRefusal = 400;
/// What a request takes anyhow; the number of connections bounds the sum.
constexpr size_t kSmallBody = 64 * 1024;

}  // namespace

Exchange::Exchange(ConnectionInfo connection, SessionServices& services)
    : services_(services), memory_(services.memory) {
    request_.connection = std::move(connection);
}

void Exchange::headIsWhole() {
    began_ = Clock::now();
    services_.proxies.apply(request_);
}

PenaltyBox::Verdict Exchange::judgeLogin() {
    attempt_ = loginAttemptOf(request_);
    if (!attempt_) return {};
    suspect_ = {request_.connection.remoteAddress, attempt_->login};
    // A proxy that does not tell the client stands for all of its clients.
    if (services_.proxies.trusts(suspect_.address)) suspect_.address.clear();
    const Clock::time_point now = Clock::now();
    const PenaltyBox::Verdict verdict = services_.penalties.judge(suspect_, now, now - *began_);
    loginIsUnderway_ = verdict.underway;
    return verdict;
}

void Exchange::loginIsOver() {
    if (std::exchange(loginIsUnderway_, false)) services_.penalties.over(suspect_);
}

bool Exchange::hasRoom() const {
    return services_.memory.hasRoom() && services_.pool.hasRoom();
}

bool Exchange::holdBody(size_t size) {
    bodyBytes_ = size;
    memory_.resize(size);
    return size <= kSmallBody || services_.memory.hasRoomForBody();
}

void Exchange::extensionAnswers(std::string_view head, std::string_view body) {
    memory_.resize(head.size() + body.size());
    answers(head);
    if (!attempt_ || status_ == 0) return;
    if (status_ == kUnauthorized) {
        services_.penalties.failed(suspect_, Clock::now());
    } else if (status_ < kFirstRefusal && attempt_->provesLogin) {
        services_.penalties.succeeded(suspect_, Clock::now());
    }
    loginIsOver();
}

void Exchange::answers(std::string_view head) {
    status_ = statusOf(head);
    if (began_) took_ = Clock::now() - *began_;
}

void Exchange::isOver() {
    loginIsOver();
    memory_.resize(0);
    RequestRecord record{request_, {}, status_, bodyBytes_, sentBytes_, {}};
    if (attempt_) record.login = attempt_->login;
    record.took = std::chrono::duration_cast<std::chrono::microseconds>(took_);
    services_.watch.finished(record);
}

}  // namespace host
