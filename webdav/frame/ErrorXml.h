// The XML body of error answers.
//
// Pure, safe from every thread.
#pragma once

#include <string>
#include <string_view>

namespace webdav {

/// The exception key of a reason: "QUIN\DAV\Exception\" and the reason.
std::string ExceptionKey(std::string_view reason);

struct ErrorRecord {
    std::string exceptionKey;
    std::string message;
};

/// The document d:error with the module's version, the key and the message.
std::string BuildErrorXml(const ErrorRecord& record);

}  // namespace webdav
