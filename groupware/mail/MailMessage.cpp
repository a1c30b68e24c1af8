#include "groupware/mail/MailMessage.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "groupware/engine/Names.h"
#include "platform/CodePage.h"
#include "platform/LocalTime.h"
#include "platform/Random.h"

namespace groupware {

namespace {

/// A line end for header fields that are continued.
constexpr std::string_view kFold = "\r\n ";

bool isPlain(std::string_view text) {
    constexpr size_t kLongest = 60;
    return text.size() <= kLongest && text.find("=?") == std::string_view::npos &&
           std::ranges::all_of(text, [](char c) { return c >= ' ' && c < '\x7f'; });
}

std::string encodedWords(std::string_view raw) {
    constexpr size_t kMostBytes = 39;  // with the marks and "Subject: " below 76 characters
    const std::string text = platform::utf16ToUtf8(platform::utf8ToUtf16(raw));
    std::string words;
    for (size_t from = 0; from < text.size();) {
        size_t end = std::min(from + kMostBytes, text.size());
        while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
        if (!words.empty()) words += kFold;
        words.append("=?UTF-8?B?").append(toBase64(text.substr(from, end - from))).append("?=");
        from = end;
    }
    return words;
}

std::string mailbox(std::string_view name, const std::string& address) {
    if (name.empty()) return "<" + address + ">";
    if (!isPlain(name)) return encodedWords(name).append(kFold).append("<" + address + ">");
    std::string quoted = "\"";
    for (const char c : name) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted.append("\" <").append(address).append(">");
}

std::string dateText(int64_t ms) {
    constexpr std::array kDays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    constexpr std::array kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                    "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const platform::DateTime t = platform::utcFromMs(ms);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%s, %u %s %04u %02u:%02u:%02u +0000",
                  kDays[t.dayOfWeek % 7U], unsigned{t.day}, kMonths[(t.month + 11U) % 12U],
                  unsigned{t.year}, unsigned{t.hour}, unsigned{t.minute}, unsigned{t.second});
    return text.data();
}

/// A part in base64, in lines.
void addPart(std::string& text, const std::string& boundary, std::string_view type,
             std::string_view body) {
    constexpr size_t kLine = 76;
    text.append("--").append(boundary).append("\r\nContent-Type: ").append(type);
    text.append("\r\nContent-Transfer-Encoding: base64\r\n\r\n");
    const std::string encoded = toBase64(body);
    for (size_t from = 0; from < encoded.size(); from += kLine) {
        text.append(encoded, from, kLine).append("\r\n");
    }
}

}  // namespace

std::string MailMessage::text() const {
    const std::string boundary = "=_" + token;  // no line of base64 begins so
    std::string whole;
    const auto field = [&](std::string_view name, std::string_view value) {
        whole.append(name).append(": ").append(value).append("\r\n");
    };
    field("Date", dateText(sentMs));
    field("From", mailbox(fromName, from));
    if (!sender.empty()) field("Sender", mailbox({}, sender));
    field("To", mailbox({}, to));
    field("Subject", headerText(subject));
    field("Message-ID", "<" + token + "@" + std::string(addressParts(from).domain) + ">");
    field("MIME-Version", "1.0");
    field("Content-Type", "multipart/alternative;\r\n boundary=\"" + boundary + "\"");
    whole += "\r\n";
    addPart(whole, boundary, "text/plain; charset=utf-8", words);
    addPart(whole, boundary, "text/calendar; charset=utf-8; method=" + method, calendar);
    return whole.append("--").append(boundary).append("--\r\n");
}

std::string headerText(std::string_view text) {
    return isPlain(text) ? std::string(text) : encodedWords(text);
}

std::string toBase64(std::string_view bytes) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const size_t held = std::min<size_t>(3, bytes.size() - i);
        uint32_t bits = 0;
        for (size_t k = 0; k < 3; ++k) {
            bits = bits << 8U | (k < held ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        }
        for (size_t k = 0; k < 4; ++k) {
            text += k <= held ? kDigits[bits >> (18U - 6U * k) & 63U] : '=';
        }
    }
    return text;
}

std::string randomToken() {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::array<uint8_t, 16> random{};
    platform::fillRandom(random);
    std::string token;
    for (const uint8_t byte : random) {
        token += kDigits[byte >> 4U];
        token += kDigits[byte & 15U];
    }
    return token;
}

}  // namespace groupware
