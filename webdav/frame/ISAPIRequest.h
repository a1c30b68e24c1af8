// One request as the web server gives it, and the answer as the web server takes it.
//
// The only contact of the module with the web server for a request: everything above reads and
// answers through these operations. Used by one thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "abi/Isapi.h"
#include "webdav/frame/ISAPIData.h"

namespace webdav {

class ISAPIRequest {
  public:
    /// Parses the query string and reads the body at once.
    explicit ISAPIRequest(EXTENSION_CONTROL_BLOCK* block);
    virtual ~ISAPIRequest() = default;
    ISAPIRequest(const ISAPIRequest&) = delete;
    ISAPIRequest& operator=(const ISAPIRequest&) = delete;

    ISAPIData& Data() { return data_; }

    /// Appends a line and CR LF to the header block; nothing for an absent or empty line.
    void AddHeader(const char* line);
    /// The reason phrase, "UNKNOWN" for codes that the module does not send by itself.
    static const char* StatusText(uint32_t code);

    /// An absent content type with a length of 0 leaves the Content-Type line out.
    bool SendHeaders(uint32_t status, uint32_t contentLength, const char* contentType);
    bool SendData(uint32_t status, const char* contentType, const void* bytes, uint32_t length);
    bool SendText(uint32_t status, const char* contentType, std::string_view text);
    bool SendXml(uint32_t status, std::string_view text);

    /// What was sent, for the request trace.
    const std::string& StatusLine() const { return statusText_; }
    const std::string& HeaderBlock() const { return headers_; }

  protected:
    EXTENSION_CONTROL_BLOCK* Block() const { return block_; }
    bool WriteBody(const void* bytes, uint32_t length);

  private:
    void BuildHeaders(uint32_t status, uint32_t contentLength, const char* contentType);

    EXTENSION_CONTROL_BLOCK* block_;
    ISAPIData data_;
    std::string headers_;
    std::string statusText_;
};

}  // namespace webdav
