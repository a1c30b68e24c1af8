// One request and its answer as the server accounts for them: who really asks, what failed logins
// cost, how much memory it takes, what became of it.
//
// Part of a transaction, which knows the texts themselves.
#pragma once

#include <chrono>
#include <optional>
#include <string_view>

#include "host/LoginAttempt.h"
#include "host/MemoryBudget.h"
#include "host/PenaltyBox.h"
#include "host/Request.h"
#include "host/SessionServices.h"

namespace host {

class Exchange {
  public:
    Exchange(ConnectionInfo connection, SessionServices& services);
    ~Exchange() { loginIsOver(); }
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    Request& request() { return request_; }
    const Request& request() const { return request_; }

    /// To be told when the request's head is whole, and when all of it is or will ever be.
    void headIsWhole();
    void isWhole() { began_ = Clock::now(); }
    /// What a request with credentials has to suffer for those that failed before; to be asked once
    /// more after the wait when the verdict says so.
    PenaltyBox::Verdict judgeLogin();
    /// False when nothing more can be taken on now.
    bool hasRoom() const;
    /// To be told how much of the body there is; false when that is too much for now.
    bool holdBody(size_t size);
    /// To be told what the extension answers, instead of the body from then on.
    void extensionAnswers(std::string_view head, std::string_view body);
    /// To be told what is about to be sent, and how much of it has been.
    void answers(std::string_view head);
    void sent(size_t bytes) { sentBytes_ += bytes; }
    /// To be told when a request that had arrived is over, however it ended.
    void isOver();

  private:
    void loginIsOver();

    using Clock = std::chrono::steady_clock;

    SessionServices& services_;
    Request request_;
    std::optional<LoginAttempt> attempt_;
    PenaltyBox::Suspect suspect_;
    bool loginIsUnderway_ = false;
    MemoryBudget::Share memory_;
    std::optional<Clock::time_point> began_;  ///< the work on it; nothing while it is still coming
    Clock::duration took_{0};
    unsigned status_ = 0;
    uint64_t bodyBytes_ = 0;
    uint64_t sentBytes_ = 0;
};

}  // namespace host
