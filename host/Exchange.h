// One request and its answer as the server accounts for them: who really asks, what failed logins
// cost, what was answered.
//
// Owned by a session and used on the event loop; the session does the reading and writing.
#pragma once

#include <chrono>
#include <optional>
#include <string_view>

#include "host/LoginAttempt.h"
#include "host/PenaltyBox.h"
#include "host/Request.h"
#include "host/SessionServices.h"

namespace host {

class Exchange {
  public:
    Exchange(ConnectionInfo connection, SessionServices& services) : services_(services) {
        request_.connection = std::move(connection);
    }

    Request& request() { return request_; }
    const Request& request() const { return request_; }

    /// To be told when the request's head is whole.
    void headIsWhole() { services_.proxies.apply(request_); }
    /// What a request with credentials has to suffer for those that failed before.
    PenaltyBox::Verdict judgeLogin();
    /// To be told what the extension answers.
    void extensionAnswers(std::string_view answerHead);

  private:
    SessionServices& services_;
    Request request_;
    std::optional<LoginAttempt> attempt_;
    PenaltyBox::Suspect suspect_;
};

}  // namespace host
