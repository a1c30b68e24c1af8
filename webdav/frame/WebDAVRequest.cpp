// The pipeline that every request passes through, and the answers that are common to all.
#include "webdav/frame/WebDAVRequest.h"

#include <array>
#include <cstring>
#include <span>

#include "platform/Random.h"
#include "webdav/base/ExceptObj.h"
#include "webdav/base/Text.h"
#include "webdav/frame/ErrorXml.h"
#include "webdav/frame/PathResolver.h"
#include "webdav/log/Log.h"
#include "webdav/store/StoreBinding.h"

namespace webdav {

namespace {

constexpr uint32_t kStoreCheckLine = 70;
constexpr const char* kSourceFile = "WebDAVRequest.cpp";
constexpr const char* kStoreNotLoaded =
    "Unable to load the Corvane API.  Confirm that the correct version of Corvane is installed.";
constexpr const char* kInvalidUtf8 =
    "Response contains data that is not properly UTF-8 encoded, invalid data will be removed from "
    "response";
constexpr const char* kXmlContentType = "application/xml; charset=utf-8";
constexpr std::string_view kNotImplementedPage =
    "<HTML>\r\n<HEAD><TITLE>501 Not Implemented</TITLE></HEAD>\r\n"
    "<BODY><H1>Not Implemented</H1></BODY>\r\n</HTML>\r\n";

constexpr const char* kNoCacheHeaders[] = {
    "Cache-Control: no-store, no-cache, must-revalidate, post-check=0, pre-check=0",
    "Expires: -1",
    "Pragma: No-cache",
};

constexpr size_t kTagLetters = 14;
using TagNumbers = std::array<uint16_t, kTagLetters>;

/// Draws the numbers that a tag's letters are made of; false, and logged, when there are none.
bool drawTagNumbers(TagNumbers& numbers) {
    platform::RandomSource source;
    if (!source.acquire()) {
        Log(kLogError, nullptr, "Unable to acquire a Cryptographic Service Provider");
        return false;
    }
    std::array<uint8_t, sizeof(TagNumbers)> bytes{};
    if (!source.draw(bytes)) {
        source.release();
        Log(kLogError, nullptr,
            "Cryptographic Service Provider was unable to generate a random key");
        return false;
    }
    std::memcpy(numbers.data(), bytes.data(), bytes.size());
    if (!source.release())
        Log(kLogError, nullptr, "Error releasing Cryptographic Service Provider");
    return true;
}

}  // namespace

int32_t WebDAVRequest::Process() {
    MakeRequestTag();
    const std::string& userAgent = Data().GetServerVar("HTTP_USER-AGENT");
    const std::string& address = Data().GetServerVar("REMOTE_ADDR");
    Log(kLogInfo, RequestTag(), "Connection: %s Method:%s User-Agent:%s", address.c_str(),
        Method().c_str(), userAgent.c_str());
    if (Data().BodyFailed()) {
        Log(kLogError, RequestTag(),
            "Invalid request from %s, connection closed before all data was read [GetLastError() = "
            "%d]",
            address.c_str(), static_cast<int>(Data().BodyError()));
        return -1;
    }
    AddNoCacheHeaders();
    try {
        if (!IsStoreLoaded()) throw ExceptObj(kStoreCheckLine, kSourceFile, kStoreNotLoaded);
        if (const int32_t result = Authenticate(); result != 0) return result;
        if (const int32_t result = ParseRequest(); result != 0) return result;
        return DispatchMethod();
    } catch (const ExceptObj& failure) {
        HandleException(failure);
        return -1;
    }
}

bool WebDAVRequest::MakeRequestTag() {
    TagNumbers numbers{};
    if (!drawTagNumbers(numbers)) return false;
    for (size_t i = 0; i < kTagLetters; ++i)
        requestTag_[i] = static_cast<char>('A' + numbers[i] % 26);
    return true;
}

void WebDAVRequest::AddNoCacheHeaders() {
    for (const char* header : kNoCacheHeaders) AddHeader(header);
}

int32_t WebDAVRequest::ParseRequest() {
    TraceRequest();
    const char* pathInfo = Block() == nullptr ? nullptr : Block()->lpszPathInfo;
    std::string path = pathInfo == nullptr ? "" : pathInfo;
    if (path.empty()) path = Data().GetServerVar("SCRIPT_NAME");
    if (path.ends_with('/')) path.pop_back();
    Log(kLogInfo, RequestTag(), "ParseRequest: pathInfo = %s", path.c_str());
    return PathResolver(*this, target_).Resolve(std::move(path));
}

int32_t WebDAVRequest::DispatchMethod() {
    struct MethodHandler {
        std::string_view method;
        int32_t (WebDAVRequest::*handle)();
    };
    static constexpr MethodHandler kHandlers[] = {
        {"OPTIONS", &WebDAVRequest::HandleOptions},
        {"GET", &WebDAVRequest::HandleGet},
        {"PUT", &WebDAVRequest::HandlePut},
        {"DELETE", &WebDAVRequest::HandleDelete},
        {"PROPFIND", &WebDAVRequest::HandlePropFind},
        {"REPORT", &WebDAVRequest::HandleReport},
        {"PROPPATCH", &WebDAVRequest::HandlePropPatch},
        {"POST", &WebDAVRequest::HandlePost},
    };
    const std::string method = Method();
    for (const MethodHandler& row : kHandlers)
        if (method == row.method) return (this->*row.handle)();

    Log(kLogError, RequestTag(), "HTTP method %s is not implemented", method.c_str());
    SendPage(501, kNotImplementedPage);
    return -1;
}

std::string WebDAVRequest::Method() const {
    const EXTENSION_CONTROL_BLOCK* block = Block();
    return block == nullptr || block->lpszMethod == nullptr ? std::string() : block->lpszMethod;
}

void WebDAVRequest::AddETagHeader(std::string_view value) {
    if (value.empty()) return;
    const std::string line = "ETag: " + std::string(value);
    AddHeader(line.c_str());
}

bool WebDAVRequest::SendNotFound(std::string_view message) {
    const std::string reason(message);
    Log(kLogError, RequestTag(), "Send HTTP Error: %d - %s", 404, reason.c_str());
    return SendXmlResponse(404, BuildErrorXml({ExceptionKey(reason), ""}));
}

bool WebDAVRequest::SendHttpError(uint32_t status, std::string_view message,
                                  std::string_view detail) {
    const ErrorRecord record{ExceptionKey(message), std::string(detail)};
    Log(kLogError, RequestTag(), "Send HTTP Error: %d - %s : %s", static_cast<int>(status),
        std::string(message).c_str(), record.message.c_str());
    return SendXmlResponse(status, BuildErrorXml(record));
}

void WebDAVRequest::HandleException(const ExceptObj& failure) {
    Log(kLogError, RequestTag(), "Exception: %s", failure.message().c_str());
    // The key holds its own base once more; clients have always seen it so.
    SendXmlResponse(500, BuildErrorXml({ExceptionKey("QUIN\\DAV\\Exception"), failure.message()}));
}

bool WebDAVRequest::SendXmlResponse(uint32_t status, std::string_view body) {
    const bool sent = SendCheckedText(status, kXmlContentType, body);
    if (!sent) Log(kLogError, RequestTag(), "Unable to send XML response to client");
    return sent;
}

bool WebDAVRequest::SendCheckedText(uint32_t status, const char* contentType,
                                    std::string_view body) {
    if (IsValidUtf8(body)) {
        const bool sent = SendText(status, contentType, body);
        TraceResponse(body, false);
        return sent;
    }
    Log(kLogError, RequestTag(), "%s", kInvalidUtf8);
    const std::string cleaned = RemoveInvalidUtf8(body);
    const bool sent = SendText(status, contentType, cleaned);
    TraceResponse(body, true);
    TraceResponse(cleaned, false);
    return sent;
}

void WebDAVRequest::SendPage(uint32_t status, std::string_view page) {
    const bool sent = SendHeaders(status, static_cast<uint32_t>(page.size()), "text/html");
    if (sent && !page.empty()) WriteBody(page.data(), static_cast<uint32_t>(page.size()));
    TraceResponse(page, false);
}

int32_t WebDAVRequest::RefuseForbidden() {
    SendHttpError(403, "Forbidden", "Access to the specified resource has been forbidden");
    return -1;
}

int32_t WebDAVRequest::RefuseBadRequest() {
    SendHttpError(400, "Bad Request",
                  "Your browser sent a request that this server could not understand.");
    return -1;
}

}  // namespace webdav
