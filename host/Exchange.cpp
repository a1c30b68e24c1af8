#include "host/Exchange.h"

#include <charconv>

namespace host {
namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned kUnauthorized = 401;
constexpr unsigned kFirstRefusal = 400;

/// Of "HTTP/1.1 200 OK..."; 0 when there is no answer.
unsigned statusOf(std::string_view answerHead) {
    constexpr size_t kStart = 9;
    constexpr size_t kDigits = 3;
    unsigned status = 0;
    if (answerHead.size() >= kStart + kDigits) {
        std::from_chars(answerHead.data() + kStart, answerHead.data() + kStart + kDigits, status);
    }
    return status;
}

}  // namespace

PenaltyBox::Verdict Exchange::judgeLogin() {
    attempt_ = loginAttemptOf(request_);
    if (!attempt_) return {};
    suspect_ = {request_.connection.remoteAddress, attempt_->login};
    // A proxy that does not tell the client stands for all of its clients.
    if (services_.proxies.trusts(suspect_.address)) suspect_.address.clear();
    return services_.penalties.judge(suspect_, Clock::now());
}

void Exchange::extensionAnswers(std::string_view answerHead) {
    const unsigned status = statusOf(answerHead);
    if (!attempt_ || status == 0) return;
    if (status == kUnauthorized) {
        services_.penalties.failed(suspect_, Clock::now());
    } else if (status < kFirstRefusal && attempt_->provesLogin) {
        services_.penalties.succeeded(suspect_, Clock::now());
    }
}

}  // namespace host
