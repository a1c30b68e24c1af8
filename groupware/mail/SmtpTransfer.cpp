#include "groupware/mail/SmtpTransfer.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <mutex>
#include <string_view>

#include <curl/curl.h>

namespace groupware {

namespace {

constexpr long kConnectSeconds = 30;
constexpr long kTransferSeconds = 300;

struct EndEasy {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct EndList {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

size_t readMore(char* buffer, size_t size, size_t count, void* source) {
    auto& rest = *static_cast<std::string_view*>(source);
    const size_t taken = rest.copy(buffer, size * count);
    rest.remove_prefix(taken);
    return taken;
}

int endWhenStopped(void* stopped, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    return (*static_cast<const std::function<bool()>*>(stopped))() ? 1 : 0;
}

SmtpOutcome::Kind kindOf(CURLcode result, long answer) {
    switch (result) {
        case CURLE_OK:
            return SmtpOutcome::Kind::kSent;
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
        case CURLE_WEIRD_SERVER_REPLY:
            // Told by the server of this message, unless it told nothing.
            if (answer / 100 == 5) return SmtpOutcome::Kind::kRefused;
            return answer / 100 == 4 ? SmtpOutcome::Kind::kTryLater
                                     : SmtpOutcome::Kind::kUnreachable;
        default:
            return SmtpOutcome::Kind::kUnreachable;
    }
}

void describe(CURL* easy, const MailSettings& settings) {
    const bool tls = settings.security == MailSettings::Security::kTls;
    const std::string url = std::string(tls ? "smtps://" : "smtp://") + settings.smtpHost + ":" +
                            std::to_string(settings.smtpPort);
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "smtp,smtps");
    curl_easy_setopt(easy, CURLOPT_NOPROXY, "*");
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, kConnectSeconds);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT, kTransferSeconds);
    if (settings.security == MailSettings::Security::kStartTls) {
        curl_easy_setopt(easy, CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_ALL));
    }
    if (settings.user.empty()) return;
    curl_easy_setopt(easy, CURLOPT_USERNAME, settings.user.c_str());
    curl_easy_setopt(easy, CURLOPT_PASSWORD, settings.password.c_str());
}

}  // namespace

SmtpOutcome sendBySmtp(const MailSettings& settings, const SpooledMessage& message,
                       const std::function<bool()>& stopped) {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    const std::unique_ptr<CURL, EndEasy> easy(curl_easy_init());
    const std::string sender = "<" + message.envelope.sender + ">";
    const std::string recipient = "<" + message.envelope.recipient + ">";
    const std::unique_ptr<curl_slist, EndList> recipients(
        curl_slist_append(nullptr, recipient.c_str()));
    if (!easy || !recipients) return {SmtpOutcome::Kind::kUnreachable, "out of memory"};
    std::array<char, CURL_ERROR_SIZE> problem{};
    std::string_view rest = message.text;
    describe(easy.get(), settings);
    curl_easy_setopt(easy.get(), CURLOPT_ERRORBUFFER, problem.data());
    curl_easy_setopt(easy.get(), CURLOPT_MAIL_FROM, sender.c_str());
    curl_easy_setopt(easy.get(), CURLOPT_MAIL_RCPT, recipients.get());
    curl_easy_setopt(easy.get(), CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(easy.get(), CURLOPT_READFUNCTION, readMore);
    curl_easy_setopt(easy.get(), CURLOPT_READDATA, &rest);
    curl_easy_setopt(easy.get(), CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(easy.get(), CURLOPT_XFERINFOFUNCTION, endWhenStopped);
    curl_easy_setopt(easy.get(), CURLOPT_XFERINFODATA, &stopped);
    const CURLcode result = curl_easy_perform(easy.get());
    long answer = 0;
    curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &answer);
    const std::string reason = problem[0] != '\0' ? problem.data() : curl_easy_strerror(result);
    return {kindOf(result, answer), reason};
}

}  // namespace groupware
