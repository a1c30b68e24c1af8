#include "host/SetupPage.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>

#include <openssl/sha.h>

#include "host/Ascii.h"
#include "host/SetupTexts.h"

namespace host {
namespace {

constexpr size_t kLongestUser = 254;

// The texts bring nothing from elsewhere and run nothing; who follows their links tells no one.
constexpr std::string_view kHeaders =
    "Content-Security-Policy: default-src 'none'; style-src 'self'; form-action 'self'; "
    "base-uri 'none'; frame-ancestors 'none'\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Referrer-Policy: no-referrer\r\n"
    "Cache-Control: no-store\r\n";

struct Document {
    std::string_view path;
    std::string_view contentType;
    const std::string_view& text;
};

constexpr Document kDocuments[] = {
    {"/setup", "text/html; charset=utf-8", kSetupPage},
    {"/setup/", "text/html; charset=utf-8", kSetupPage},
    {"/setup/style.css", "text/css; charset=utf-8", kSetupStyle},
    {"/setup/profile.mobileconfig", "application/x-apple-aspen-config", kSetupProfile},
};

/// The server as the client reached it.
struct Origin {
    std::string scheme;
    std::string authority;  ///< with the port when it is not the scheme's own
    std::string name;       ///< an IPv6 address without brackets
    std::string port;
};

std::string localAuthority(const ConnectionInfo& connection) {
    const std::string& address = connection.localAddress;
    const bool isV6 = address.find(':') != std::string::npos;
    return (isV6 ? "[" + address + "]" : address) + ":" + std::to_string(connection.localPort);
}

Origin originOf(const Request& request) {
    std::string authority = request.target.authority;
    if (authority.empty()) authority = request.head.value("Host").value_or("");
    if (authority.empty()) authority = localAuthority(request.connection);

    const bool secure = request.connection.secure;
    const std::string ownPort = secure ? "443" : "80";
    const std::string host(hostOfAuthority(authority));
    Origin origin{secure ? "https" : "http", host, host, ownPort};
    if (authority.size() > host.size() + 1) origin.port = authority.substr(host.size() + 1);
    if (origin.port != ownPort) origin.authority.append(":").append(origin.port);
    if (host.front() == '[') origin.name = host.substr(1, host.size() - 2);
    return origin;
}

bool isUserName(std::string_view user) {
    return user.size() <= kLongestUser &&
           std::ranges::all_of(user, [](char c) { return c > ' ' && c < 0x7F; });
}

/// An identifier (version 5 of RFC 9562) that is the same whenever the name is.
std::string identifierOf(std::string_view name) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    // The namespace of URLs.
    std::string text("\x6b\xa7\xb8\x11\x9d\xad\x11\xd1\x80\xb4\x00\xc0\x4f\xd4\x30\xc8", 16);
    text.append(name);
    std::array<uint8_t, SHA_DIGEST_LENGTH> hash{};
    SHA1(reinterpret_cast<const uint8_t*>(text.data()), text.size(), hash.data());
    hash[6] = static_cast<uint8_t>((hash[6] & 0x0FU) | 0x50U);
    hash[8] = static_cast<uint8_t>((hash[8] & 0x3FU) | 0x80U);
    std::string identifier;
    for (size_t i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) identifier += '-';
        identifier += kDigits[hash[i] >> 4U];
        identifier += kDigits[hash[i] & 15U];
    }
    return identifier;
}

struct Value {
    std::string_view name;
    std::string text;
};
using Values = std::array<Value, 10>;

Values valuesFor(const Origin& origin, const std::string& user) {
    const std::string server = origin.scheme + "://" + origin.authority;
    const std::string subject = server + "/setup/profile.mobileconfig?user=" + user;
    const bool secure = origin.scheme == "https";
    return {{{"server", server},
             {"host", origin.authority},
             {"name", origin.name},
             {"port", origin.port},
             {"secure", secure ? "true" : "false"},
             {"insecure", secure ? "" : origin.scheme},
             {"user", user},
             {"profile-id", identifierOf(subject)},
             {"calendars-id", identifierOf(subject + "#calendars")},
             {"contacts-id", identifierOf(subject + "#contacts")}}};
}

void appendEscaped(std::string& markup, std::string_view text) {
    for (const char c : text) {
        switch (c) {
            case '&':
                markup.append("&amp;");
                break;
            case '<':
                markup.append("&lt;");
                break;
            case '>':
                markup.append("&gt;");
                break;
            case '"':
                markup.append("&quot;");
                break;
            case '\'':
                markup.append("&#39;");
                break;
            default:
                markup.push_back(c);
        }
    }
}

/// Puts the values into a line. False when it names an empty one: there is nothing to say then.
bool appendFilled(std::string& markup, std::string_view line, const Values& values) {
    for (size_t open = line.find("{{"); open != std::string_view::npos; open = line.find("{{")) {
        const size_t close = line.find("}}", open);
        const Value* value =
            std::ranges::find(values, line.substr(open + 2, close - open - 2), &Value::name);
        if (value == values.end() || value->text.empty()) return false;
        markup.append(line.substr(0, open));
        appendEscaped(markup, value->text);
        line.remove_prefix(close + 2);
    }
    markup.append(line);
    return true;
}

std::string filled(std::string_view text, const Values& values) {
    std::string markup;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        const size_t before = markup.size();
        if (!appendFilled(markup, text.substr(0, end), values)) markup.resize(before);
        text.remove_prefix(end);
    }
    return markup;
}

}  // namespace

HostAnswer setupAnswer(const Request& request) {
    const Document* document = std::ranges::find(kDocuments, request.target.path, &Document::path);
    if (document == std::end(kDocuments)) return makeHostAnswer(404);
    if (request.head.method() != "GET" && request.head.method() != "HEAD") {
        return makeHostAnswer(405);
    }
    const auto user = formField(request.target.query, "user");
    if (!user || !isUserName(*user)) return makeHostAnswer(400);
    return makeDocument(document->contentType, kHeaders,
                        filled(document->text, valuesFor(originOf(request), *user)));
}

}  // namespace host
