// Who a request acts for: HTTP Basic (RFC 7617), query credentials on secure connections, or the
// read-only token of a folder, which is compared later, when the folder is known.
#include <algorithm>
#include <string>

#include "webdav/base/CStr.h"
#include "webdav/base/Text.h"
#include "webdav/frame/DomainLookup.h"
#include "webdav/frame/ErrorXml.h"
#include "webdav/frame/SecretText.h"
#include "webdav/frame/UserSwitch.h"
#include "webdav/frame/WebDAVRequest.h"
#include "webdav/log/Log.h"

namespace webdav {

namespace {

constexpr const char* kChallenge = "WWW-Authenticate: Basic realm=\"QUINDAV\"";
constexpr const char* kNoBasicHeader = "No 'Authorization: Basic' header found.";
constexpr const char* kNoMatch = "Username or password does not match";
constexpr std::string_view kBasicScheme = "Basic ";

bool needsFullAddress() {
    return store().CV_GetBoolKey("Special", "FullEmailLogin", 1, STORE_FILE_MAIN) != 0;
}

/// Why an account that gave the right password is refused all the same without a word of its own.
bool isLockedOut(StoreUserHandle user) {
    return store().CV_GetIsFrozen(user) != 0 || store().CV_IsPasswordTooOld(user) != 0 ||
           store().CV_GetMustChangePassword(user) != 0;
}

}  // namespace

struct WebDAVRequest::Credentials {
    std::string user;
    SecretText password;
};

int32_t WebDAVRequest::Authenticate() {
    if (!Switches().enabled) {
        SendHttpError(401, "NotAuthenticated", "The WebDAV service is not enabled");
        return -1;
    }
    Credentials credentials;
    if (!TakeQueryCredentials(credentials)) {
        if (!Data().GetParam("token").empty()) {
            account_.readOnly = true;
            Log(kLogInfo, RequestTag(), "Authenticate: Read only access token found");
            return 0;
        }
        if (!TakeBasicCredentials(credentials)) return RefuseMissingHeader();
    }
    if (credentials.user.find('@') == std::string::npos) {
        if (needsFullAddress()) return RefuseLogin("Attempt to login without full email address");
        credentials.user += '@' + LookUpDomain(Data().GetServerVar("SERVER_ADDR"),
                                               Data().GetServerVar("SERVER_NAME"));
    }
    return LogIn(credentials);
}

bool WebDAVRequest::TakeQueryCredentials(Credentials& credentials) {
    if (!Data().IsHttps()) return false;
    std::string user = Data().GetParamUtf8("username");
    SecretText password(Data().GetParamUtf8("password"));
    if (user.empty() || password.empty()) return false;
    credentials.user = std::move(user);
    credentials.password = std::move(password);
    return true;
}

bool WebDAVRequest::TakeBasicCredentials(Credentials& credentials) {
    const SecretText header = Data().GetSecretVar("HTTP_AUTHORIZATION");
    if (!StartsWithNoCase(header.view(), kBasicScheme)) return false;
    const SecretText decoded(Base64Decode(header.view().substr(kBasicScheme.size())));
    // Without a ":" the whole text is both, the name and the password. The store reads either up to
    // its first NUL, so nothing behind one may take part in what is decided here.
    const std::string_view text(decoded.c_str());
    const size_t colon = text.find(':');
    const bool divided = colon != std::string_view::npos;
    credentials.user = std::string(text.substr(0, colon));
    credentials.password = SecretText(std::string(divided ? text.substr(colon + 1) : text));
    Log(kLogDebug, RequestTag(), "Authenticate: Username = %s", credentials.user.c_str());
    return true;
}

int32_t WebDAVRequest::LogIn(Credentials& credentials) {
    const std::string& user = credentials.user;
    const StoreAccount& account = login_.emplace(StoreAccount::ByAlias(user));
    if (!account.valid()) return RefuseLogin(kNoMatch);
    account_.email = account.Email();
    account_.mailDirectory = account.MailDirectory();
    if (store().CV_ValidateUser(account.handle(), credentials.password.c_str()) == 0)
        return RefuseLogin(kNoMatch);
    credentials.password.wipe();

    if (store().CV_GetIsDisabled(account.handle()) != 0) {
        Log(kLogWarning, RequestTag(), "Attempt to login to disabled account %s from %s",
            user.c_str(), Data().GetServerVar("REMOTE_ADDR").c_str());
        return RefuseLogin(kNoMatch);
    }
    if (isLockedOut(account.handle())) return RefuseLogin(kNoMatch);
    if (!IsWebDAVEnabled())
        return RefuseLogin(FormatText("WebDAV is not enabled for: %s", user.c_str()));
    Log(kLogInfo, RequestTag(), "Authenticate: %s successfully authenticated", user.c_str());
    return 0;
}

bool WebDAVRequest::IsWebDAVEnabled() const {
    return UserSwitchIsOn(account_.email, account_.mailDirectory);
}

StoreAccount WebDAVRequest::AccountOf(const std::string& address) const {
    if (login_ && EqualsNoCase(address, account_.email)) return login_->Lent();
    return StoreAccount::ByAlias(address);
}

int32_t WebDAVRequest::RefuseMissingHeader() {
    AddHeader(kChallenge);
    Log(kLogInfo, RequestTag(), "Send HTTP Error: %d - %s", 401, kNoBasicHeader);
    SendXmlResponse(401, BuildErrorXml({ExceptionKey(kNoBasicHeader), ""}));
    return -1;
}

int32_t WebDAVRequest::RefuseLogin(std::string_view detail) {
    AddHeader(kChallenge);
    SendHttpError(401, "NotAuthenticated", detail);
    return -1;
}

}  // namespace webdav
