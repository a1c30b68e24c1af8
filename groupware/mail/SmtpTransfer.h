// Hands one message to a mail server by SMTP.
//
// Called from the sender's thread; blocks until the server has answered, a time limit passes or it
// is told to stop.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "groupware/mail/MailSettings.h"
#include "groupware/mail/Spool.h"

namespace groupware {

struct SmtpOutcome {
    enum class Kind : uint8_t {
        kSent,
        kRefused,      ///< for good
        kTryLater,     ///< this message
        kUnreachable,  ///< the server itself: others need not be tried now
    };
    Kind kind = Kind::kTryLater;
    std::string reason;  ///< unless it was sent
};

SmtpOutcome sendBySmtp(const MailSettings& settings, const SpooledMessage& message,
                       const std::function<bool()>& stopped);

}  // namespace groupware
