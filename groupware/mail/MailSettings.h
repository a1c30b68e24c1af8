// How mail leaves the store: section [Mail] of the main settings file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace groupware {

struct MailSettings {
    enum class Security : uint8_t { kNone, kStartTls, kTls };

    std::string smtpHost;  ///< empty: somebody else takes the messages from the spool
    uint16_t smtpPort = 25;
    Security security = Security::kNone;
    std::string user;  ///< empty: no login
    std::string password;
    int64_t giveUpAfterMs = 0;

    static MailSettings read(std::string_view settingsFile);
};

}  // namespace groupware
