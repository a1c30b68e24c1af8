#include "host/LoginAttempt.h"

#include <algorithm>
#include <cstdint>

#include "host/Ascii.h"

namespace host {
namespace {

constexpr size_t kLongestLogin = 256;
constexpr std::string_view kBasicScheme = "Basic ";
constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// What stands before the colon. As forgiving as an extension may be: bytes that are no base64 are
/// left out, so that one name cannot be counted as many.
std::string basicLogin(std::string_view base64) {
    std::string login;
    uint32_t bits = 0;
    unsigned count = 0;
    for (const char c : base64) {
        const size_t value = kAlphabet.find(c);
        if (value == std::string_view::npos) {
            if (c == '=') break;
            continue;
        }
        bits = (bits << 6U | static_cast<uint32_t>(value)) & 0xFFFFU;
        count += 6;
        if (count < 8) continue;
        count -= 8;
        const char byte = static_cast<char>(bits >> count & 0xFFU);
        if (byte == ':' || byte == '\0' || login.size() == kLongestLogin) break;
        login.push_back(byte);
    }
    return login;
}

LoginAttempt attemptFor(std::string login, bool provesLogin) {
    login.resize(std::min(login.size(), kLongestLogin));
    std::ranges::transform(login, login.begin(), lowered);
    return {std::move(login), provesLogin};
}

}  // namespace

std::optional<LoginAttempt> loginAttemptOf(const Request& request) {
    const std::string& query = request.target.query;
    if (request.connection.secure && !query.empty()) {
        const std::string user = formField(query, "username").value_or("");
        const std::string password = formField(query, "password").value_or("");
        if (!user.empty() && !password.empty()) return attemptFor(user, false);
    }
    const std::optional<std::string> header = request.head.value("Authorization");
    if (!header) return std::nullopt;
    std::string login;
    if (sameText(std::string_view(*header).substr(0, kBasicScheme.size()), kBasicScheme)) {
        login = basicLogin(std::string_view(*header).substr(kBasicScheme.size()));
    }
    return attemptFor(std::move(login), query.empty());
}

}  // namespace host
