#include "webdav/frame/ISAPIRequest.h"

#include <algorithm>

namespace webdav {

namespace {

constexpr const char* kXmlContentType = "application/xml; charset=utf-8";
constexpr size_t kLongestStatusText = 63;
constexpr size_t kUsualHeaders = 512;

struct Reason {
    uint32_t code;
    const char* phrase;
};

constexpr Reason kReasons[] = {
    {200, "OK"},
    {204, "No Content"},
    {207, "Multi-Status"},
    {302, "Moved Temporarily"},
    {304, "Not Modified"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {408, "Request Timeout"},
    {411, "Length Required"},
    {500, "Internal Server Error"},
    {501, "Not Implemented"},
};

}  // namespace

ISAPIRequest::ISAPIRequest(EXTENSION_CONTROL_BLOCK* block) : block_(block), data_(block) {
    headers_.reserve(kUsualHeaders);
}

void ISAPIRequest::AddHeader(const char* line) {
    if (line == nullptr || *line == '\0') return;
    headers_ += line;
    headers_ += "\r\n";
}

const char* ISAPIRequest::StatusText(uint32_t code) {
    for (const Reason& reason : kReasons)
        if (reason.code == code) return reason.phrase;
    return "UNKNOWN";
}

void ISAPIRequest::BuildHeaders(uint32_t status, uint32_t contentLength, const char* contentType) {
    statusText_ = std::to_string(status);
    statusText_.append(" ").append(StatusText(status));
    statusText_.resize(std::min(statusText_.size(), kLongestStatusText));
    headers_.append("Content-Length: ").append(std::to_string(contentLength)).append("\r\n");
    // A body without a type is sent with an empty type line.
    if (contentType != nullptr || contentLength != 0) {
        headers_ += "Content-Type: ";
        if (contentType != nullptr) headers_ += contentType;
        headers_ += "\r\n";
    }
    headers_ += "Connection: close\r\n\r\n";
}

bool ISAPIRequest::SendHeaders(uint32_t status, uint32_t contentLength, const char* contentType) {
    BuildHeaders(status, contentLength, contentType);
    if (block_ == nullptr) return false;
    HSE_SEND_HEADER_EX_INFO info{};
    info.pszStatus = statusText_.c_str();
    info.cchStatus = static_cast<DWORD>(statusText_.size());
    info.pszHeader = headers_.c_str();
    info.cchHeader = static_cast<DWORD>(headers_.size());
    info.fKeepConn = FALSE;
    return block_->ServerSupportFunction(block_->ConnID, HSE_REQ_SEND_RESPONSE_HEADER_EX, &info,
                                         nullptr, nullptr) != FALSE;
}

bool ISAPIRequest::WriteBody(const void* bytes, uint32_t length) {
    if (block_ == nullptr) return false;
    DWORD size = length;
    return block_->WriteClient(block_->ConnID, const_cast<void*>(bytes), &size, 0) != FALSE;
}

bool ISAPIRequest::SendData(uint32_t status, const char* contentType, const void* bytes,
                            uint32_t length) {
    return SendHeaders(status, length, contentType) && WriteBody(bytes, length);
}

bool ISAPIRequest::SendText(uint32_t status, const char* contentType, std::string_view text) {
    return SendData(status, contentType, text.data(), static_cast<uint32_t>(text.size()));
}

bool ISAPIRequest::SendXml(uint32_t status, std::string_view text) {
    return SendText(status, kXmlContentType, text);
}

}  // namespace webdav
