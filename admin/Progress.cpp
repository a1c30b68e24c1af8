#include "admin/Progress.h"

#include <csignal>
#include <iostream>
#include <string>

#include "admin/Session.h"
#include "platform/Terminal.h"

namespace admin {

namespace {

constexpr std::chrono::seconds kBetweenLines{1};
constexpr const char* kWipeLine = "\r\033[K";

volatile std::sig_atomic_t interrupted = 0;

void rememberInterruption(int /*signal*/) {
    interrupted = 1;
}

}  // namespace

Progress::Progress()
    : next_(Clock::now() + kBetweenLines), terminal_(platform::errorOutputIsTerminal()) {
    std::signal(SIGINT, rememberInterruption);
    std::signal(SIGTERM, rememberInterruption);
}

Progress::~Progress() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    if (shown_) std::cerr << kWipeLine << std::flush;
}

void Progress::operator()(std::string_view stage, uint64_t done, uint64_t total) {
    if (interrupted != 0) {
        throw CommandError("interrupted (" + std::string(stage) + ": " + std::to_string(done) +
                           " of " + std::to_string(total) + ")");
    }
    const auto now = Clock::now();
    if (!terminal_ || now < next_) return;
    next_ = now + kBetweenLines;
    shown_ = true;
    const uint64_t percent = total == 0 ? 0 : done * 100 / total;
    std::cerr << kWipeLine << stage << ": " << percent << " %" << std::flush;
}

}  // namespace admin
