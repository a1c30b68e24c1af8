#include "groupware/engine/FailureLog.h"

#include <algorithm>
#include <cstdio>

namespace groupware {

std::string FailureLog::lineFor(std::string_view failure, Time now) {
    constexpr std::chrono::minutes kKept{1};
    const std::lock_guard guard(lock_);
    std::erase_if(told_, [&](const auto& each) { return now - each.second >= kKept; });
    if (told_.size() == kMostInAMinute || !told_.emplace(failure, now).second) return {};
    std::string line = "corvane store: " + std::string(failure);
    std::ranges::replace_if(
        line, [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return line + '\n';
}

bool tellFailure(std::string_view failure) noexcept {
    static FailureLog log;
    try {
        const std::string line = log.lineFor(failure, std::chrono::steady_clock::now());
        return !line.empty() && std::fputs(line.c_str(), stderr) >= 0;
    } catch (...) {
        return false;  // no memory for a line: nothing is left to tell it with
    }
}

}  // namespace groupware
