// One HTTP request, from the moment the web server hands it over to the last byte of its answer.
//
// Made on the stack of the extension's entry point and used by that thread alone. The pipeline, the
// answers, authentication and path resolution are implemented in frame/, each method handler in
// the file of dav/ that bears its name. Unexpected failures travel as ExceptObj and end in 500.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "webdav/base/Settings.h"
#include "webdav/frame/ISAPIRequest.h"
#include "webdav/log/RequestTrace.h"
#include "webdav/store/ItemKind.h"
#include "webdav/store/StoreHandles.h"

namespace webdav {

/// Who the request acts for.
struct RequestAccount {
    std::string email;          ///< canonical address
    std::string mailDirectory;  ///< with a closing backslash; empty for a token's guest
    bool readOnly = false;      ///< admitted by a folder's access token, not by a login
};

/// What the request's path names.
struct RequestTarget {
    std::string kind;        ///< a folder type ("IPF.Task") or a resource kind ("PRINCIPAL")
    std::string owner;       ///< address whose data is addressed, "guest" or "[PUBLIC]"
    std::string folderPath;  ///< the folder's directory, empty when there is none
    std::string folderName;  ///< its name in the store's form: Work.IMAP\Sub.IMAP, or Calendar
    std::string itemName;    ///< last segment of an item's URL with its extension, else empty
    std::vector<std::string> segments;
    size_t position = 0;  ///< the segment that path resolution reached
};

inline constexpr std::string_view kPublicOwner = "[PUBLIC]";

class WebDAVRequest : public ISAPIRequest {
  public:
    explicit WebDAVRequest(EXTENSION_CONTROL_BLOCK* block) : ISAPIRequest(block) {}

    /// Runs the whole pipeline. 0 when a handler completed normally.
    int32_t Process();

    /// The tag of the request's log lines; empty without a random source.
    const char* RequestTag() const { return requestTag_; }
    const RequestAccount& Account() const { return account_; }
    const RequestTarget& Target() const { return target_; }
    /// The request's method as the client spelt it, and its path as the web server decoded it.
    std::string Method() const;
    const std::string& Url() { return Data().GetServerVar("URL"); }

    /// The account of that address or alias, which may be the one that is logged in.
    StoreAccount AccountOf(const std::string& address) const;
    /// The account's address, or "guest" when a token admitted the request.
    std::string AccountNameForAccess() const;
    /// The rights on the target folder, an OR of STORE_RIGHT_...
    uint32_t GetAccessRights();
    /// The target folder as store operations need it.
    FolderAccess TargetFolder() const;

    void AddETagHeader(std::string_view value);
    bool SendNotFound(std::string_view message);
    bool SendHttpError(uint32_t status, std::string_view message, std::string_view detail);
    bool SendXmlResponse(uint32_t status, std::string_view body);
    /// Sends a text of any type; bytes that are no valid UTF-8 are removed, and traced apart.
    bool SendCheckedText(uint32_t status, const char* contentType, std::string_view body);
    /// Sends an HTML page of the module's own; without one, the headers alone.
    void SendPage(uint32_t status, std::string_view page);
    /// The two refusals that every handler shares; the result is the handler's, -1.
    int32_t RefuseForbidden();
    int32_t RefuseBadRequest();

  private:
    bool MakeRequestTag();
    void AddNoCacheHeaders();
    int32_t Authenticate();
    struct Credentials;
    bool TakeQueryCredentials(Credentials& credentials);
    bool TakeBasicCredentials(Credentials& credentials);
    int32_t LogIn(Credentials& credentials);
    int32_t RefuseMissingHeader();
    int32_t RefuseLogin(std::string_view detail);
    int32_t ParseRequest();
    int32_t DispatchMethod();
    void HandleException(const class ExceptObj& failure);
    uint32_t CheckAccessToken();
    bool IsWebDAVEnabled() const;

    const ServiceSwitches& Switches();
    void TraceRequest();
    void TraceResponse(std::string_view body, bool invalidUtf8);

    int32_t HandleOptions();
    int32_t HandleGet();
    int32_t HandlePut();
    int32_t HandleDelete();
    int32_t HandlePropFind();
    int32_t HandlePropPatch();
    int32_t HandleReport();
    int32_t HandlePost();

    char requestTag_[15] = {};
    RequestAccount account_;
    RequestTarget target_;
    TraceContext trace_;
    std::optional<ServiceSwitches> switches_;  ///< asked for once
    std::optional<StoreAccount> login_;        ///< whom the request acts for, once that is known
};

}  // namespace webdav
