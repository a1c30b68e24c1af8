#include "groupware/mail/MailSettings.h"

#include <algorithm>

#include "groupware/ical/AsciiText.h"
#include "platform/PrivateProfile.h"

namespace groupware {

namespace {

constexpr const char* kSection = "Mail";
constexpr int32_t kGiveUpAfterHours = 72;
constexpr int64_t kMsPerHour = 3'600'000;

/// What is not understood sends no password in the clear.
MailSettings::Security securityOf(std::string_view text) {
    if (text.empty() || equalNames(text, "None")) return MailSettings::Security::kNone;
    if (equalNames(text, "Tls")) return MailSettings::Security::kTls;
    return MailSettings::Security::kStartTls;
}

}  // namespace

MailSettings MailSettings::read(std::string_view settingsFile) {
    const auto text = [&](const char* key) {
        constexpr size_t kLongest = 256;
        return platform::readProfileText(settingsFile, kSection, key, "", kLongest);
    };
    const auto number = [&](const char* key, int32_t otherwise, int32_t most) {
        return std::clamp(platform::readProfileInt(settingsFile, kSection, key, otherwise), 1,
                          most);
    };
    MailSettings settings;
    settings.smtpHost = text("SmtpHost");
    settings.security = securityOf(text("SmtpSecurity"));
    const int32_t port = settings.security == Security::kTls ? 465 : 25;
    settings.smtpPort = static_cast<uint16_t>(number("SmtpPort", port, UINT16_MAX));
    settings.user = text("SmtpUser");
    settings.password = text("SmtpPassword");
    settings.giveUpAfterMs = number("GiveUpAfterHours", kGiveUpAfterHours, 24 * 365) * kMsPerHour;
    return settings;
}

}  // namespace groupware
