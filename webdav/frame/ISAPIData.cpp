#include "webdav/frame/ISAPIData.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <span>
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

/// Asks the web server for a variable that fits the buffer, which is all zero; nothing when it
/// gives none.
std::optional<std::string_view> askServer(EXTENSION_CONTROL_BLOCK* block, const char* name,
                                          std::span<char> buffer) {
    if (block == nullptr) return std::nullopt;
    DWORD size = static_cast<DWORD>(buffer.size());
    if (!block->GetServerVariable(block->ConnID, const_cast<LPSTR>(name), buffer.data(), &size))
        return std::nullopt;
    const std::string_view value(buffer.data(), buffer.size());
    return value.substr(0, value.find('\0'));
}

/// The same for a buffer of that size; what it gives stands in the value's own bytes alone.
std::string askServer(EXTENSION_CONTROL_BLOCK* block, const char* name, size_t bufferSize) {
    std::string value(bufferSize, '\0');
    value.resize(askServer(block, name, std::span(value)).value_or("").size());
    return value;
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

const std::string& ISAPIData::GetServerVar(const char* name) {
    static const std::string kNone;
    if (block_ == nullptr) return kNone;
    for (const auto& [known, value] : serverVariables_)
        if (known == name) return value;

    std::array<char, kVariableSize> buffer{};
    std::optional<std::string_view> value;
    if (name == std::string_view("QUERY_STRING")) {
        value = textOrEmpty(block_->lpszQueryString);
    } else if (name == std::string_view("CONTENT_TYPE")) {
        value = textOrEmpty(block_->lpszContentType);
    } else {
        value = askServer(block_, name, buffer);
    }
    return value ? serverVariables_.emplace_front(name, *value).second : kNone;
}

std::string ISAPIData::GetRawHeaders() {
    return askServer(block_, "ALL_RAW", kRawHeadersSize);
}

SecretText ISAPIData::GetSecretVar(const char* name) {
    return SecretText(askServer(block_, name, kVariableSize));
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
    std::array<char, kHttpsSize> buffer{};
    const std::string_view value = askServer(block_, "HTTPS", buffer).value_or("");
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
