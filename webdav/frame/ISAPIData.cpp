#include "webdav/frame/ISAPIData.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/CodePage.h"
#include "platform/Error.h"
#include "webdav/base/Text.h"
#include "webdav/log/Log.h"

namespace webdav {

namespace {

constexpr size_t kVariableSize = 1024;
constexpr size_t kHttpsSize = 16;
constexpr size_t kRawHeadersSize = 0x10000;
constexpr DWORD kLargestPiece = 0x10000;
constexpr DWORD kLengthUnknown = 0xFFFFFFFFU;

constexpr int32_t kReadFailed = -1;
constexpr int32_t kConnectionClosed = -2;

std::string_view textOrEmpty(const char* text) {
    return text == nullptr ? std::string_view() : std::string_view(text);
}

/// Asks the web server for a variable that fits a buffer of that size; false when it gives none.
/// What it gives stands in the value's own bytes alone.
bool askServer(EXTENSION_CONTROL_BLOCK* block, const char* name, size_t bufferSize,
               std::string& value) {
    if (block == nullptr) return false;
    value.assign(bufferSize, '\0');
    DWORD size = static_cast<DWORD>(bufferSize);
    const bool given = block->GetServerVariable(block->ConnID, const_cast<LPSTR>(name),
                                                value.data(), &size) != FALSE;
    value.resize(given ? std::min(value.find('\0'), value.size()) : 0);
    return given;
}

bool bodyIsWhollyThere(const EXTENSION_CONTROL_BLOCK& block) {
    return block.cbTotalBytes == kLengthUnknown || block.cbTotalBytes == block.cbAvailable;
}

}  // namespace

ISAPIData::ISAPIData(EXTENSION_CONTROL_BLOCK* block)
    : CURLDecoder(block == nullptr ? std::string_view() : textOrEmpty(block->lpszQueryString)),
      block_(block) {
    if (block_ != nullptr && bodyIsWhollyThere(*block_)) return;
    mustReadBody_ = true;
    bodyFailed_ = ReadBody() < 0;
}

std::string ISAPIData::GetServerVar(const std::string& name) {
    if (block_ == nullptr) return {};
    if (name == "QUERY_STRING") return std::string(textOrEmpty(block_->lpszQueryString));
    if (name == "CONTENT_TYPE") return std::string(textOrEmpty(block_->lpszContentType));
    if (const auto known = serverVariables_.find(name); known != serverVariables_.end())
        return known->second;
    std::string value;
    if (!askServer(block_, name.c_str(), kVariableSize, value)) return {};
    return serverVariables_[name] = value;
}

std::string ISAPIData::GetRawHeaders() {
    std::string headers;
    askServer(block_, "ALL_RAW", kRawHeadersSize, headers);
    return headers;
}

SecretText ISAPIData::GetSecretVar(const char* name) {
    std::string value;
    askServer(block_, name, kVariableSize, value);
    return SecretText(std::move(value));
}

std::string ISAPIData::GetParam(std::string_view name) {
    std::string value;
    GetParameter(name, value);
    return value;
}

std::string ISAPIData::GetParamUtf8(std::string_view name) {
    return platform::systemCodePageToUtf8(GetParam(name));
}

bool ISAPIData::IsHttps() {
    std::string value;
    if (!askServer(block_, "HTTPS", kHttpsSize, value)) return false;
    return StartsWithNoCase(value, "yes") || StartsWithNoCase(value, "on");
}

std::string_view ISAPIData::GetBody() const {
    if (mustReadBody_) {
        if (bodyRead_ == 0) return {};
        return {reinterpret_cast<const char*>(body_.data()), bodyRead_};
    }
    if (block_->lpbData == nullptr) return {};
    return {reinterpret_cast<const char*>(block_->lpbData), block_->cbAvailable};
}

int32_t ISAPIData::ReadBody() {
    if (block_ == nullptr) return 0;
    const uint32_t wanted = block_->cbTotalBytes;
    if (body_.size() < wanted) body_.Allocate(wanted);
    if (block_->lpbData == nullptr) return kReadFailed;

    bodyRead_ = std::min<uint32_t>(block_->cbAvailable, wanted);
    if (bodyRead_ > 0) std::memcpy(body_.data(), block_->lpbData, bodyRead_);
    while (bodyRead_ < wanted) {
        const DWORD asked = std::min<DWORD>(wanted - bodyRead_, kLargestPiece);
        DWORD size = asked;
        const BOOL read = block_->ReadClient(block_->ConnID, body_.data() + bodyRead_, &size);
        bodyError_ = platform::lastError();
        if (!read) {
            Log(kLogError, nullptr, "Error %d occurred in ReadClient\n",
                static_cast<int>(bodyError_));
            return kReadFailed;
        }
        if (size == 0) {
            Log(kLogDebug, nullptr, "ReadClient returned 0 bytes");
            return kConnectionClosed;
        }
        bodyRead_ += std::min(size, asked);
    }
    return 0;
}

}  // namespace webdav
