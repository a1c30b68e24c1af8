#include "groupware/engine/FailureLog.h"

#include <algorithm>
#include <cstdio>

namespace groupware {

std::string FailureLog::lineFor(std::string_view failure, Time now) {
    constexpr std::chrono::seconds kBetweenLines{1};
    constexpr std::chrono::seconds kBetweenSame{60};
    const std::lock_guard guard(lock_);
    if (!last_.empty() && now - lastTime_ < (failure == last_ ? kBetweenSame : kBetweenLines)) {
        return {};
    }
    last_ = failure;
    lastTime_ = now;
    std::string line = "corvane store: " + last_;
    std::ranges::replace_if(
        line, [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return line + '\n';
}

void tellFailure(std::string_view failure) noexcept {
    static FailureLog log;
    try {
        const std::string line = log.lineFor(failure, std::chrono::steady_clock::now());
        if (!line.empty()) std::fputs(line.c_str(), stderr);
    } catch (...) {
        return;  // no memory for a line: nothing is left to tell it with
    }
}

}  // namespace groupware
