// A mail message that carries a calendar text (RFC 5322, MIME, RFC 6047).
//
// Pure. Whatever the texts hold, none of them can end a header field or begin another: names and
// subjects are quoted or encoded, and the parts are base64.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace groupware {

struct MailMessage {
    std::string fromName;  ///< may be empty
    std::string from;      ///< addresses must have passed isAddress()
    std::string sender;    ///< who wrote it in the place of "from"; empty for itself
    std::string to;
    std::string subject;
    std::string words;  ///< for people whose program reads no calendar texts
    std::string calendar;
    std::string method;  ///< that of the calendar text
    std::string token;   ///< letters and digits, unlike those of any other message
    int64_t sentMs = 0;

    std::string text() const;
};

/// Text as the value of a header field: as it is when that is plain and short, else encoded words.
std::string headerText(std::string_view text);
std::string toBase64(std::string_view bytes);
/// Letters and digits that nobody else has drawn.
std::string randomToken();

}  // namespace groupware
