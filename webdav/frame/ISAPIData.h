// What the web server knows of one request: server variables, query parameters, body.
//
// Used by one thread. Without a control block every look-up yields an empty text.
#pragma once

#include <cstdint>
#include <forward_list>
#include <string>
#include <string_view>
#include <utility>

#include "abi/Isapi.h"
#include "webdav/base/Filemap.h"
#include "webdav/frame/SecretText.h"
#include "webdav/frame/URLDecoder.h"

namespace webdav {

class ISAPIData : public CURLDecoder {
  public:
    /// Walks the query string and reads the body when it is not wholly there.
    explicit ISAPIData(EXTENSION_CONTROL_BLOCK* block);

    /// A server variable, asked of the web server once; empty when it has none of that name.
    const std::string& GetServerVar(const char* name);
    /// The headers as the client sent them, which are often longer than other variables may be.
    std::string GetRawHeaders();
    /// A variable that holds a secret: it is kept nowhere else.
    SecretText GetSecretVar(const char* name);
    /// The decoded value of a query parameter, in the system code page; empty when absent.
    std::string GetParam(std::string_view name);
    /// The same in UTF-8, as the store and the settings files have their texts.
    std::string GetParamUtf8(std::string_view name);
    bool IsHttps();
    std::string_view GetBody() const;
    /// True when the client closed the connection early or a read failed.
    bool BodyFailed() const { return bodyFailed_; }
    /// The system's error at the last piece of the body.
    uint32_t BodyError() const { return bodyError_; }

  private:
    int32_t ReadBody();

    EXTENSION_CONTROL_BLOCK* block_;
    std::forward_list<std::pair<std::string, std::string>> serverVariables_;  ///< a handful
    FileMap body_;
    uint32_t bodyRead_ = 0;
    bool mustReadBody_ = false;
    bool bodyFailed_ = false;
    uint32_t bodyError_ = 0;
};

}  // namespace webdav
