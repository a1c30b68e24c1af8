#include "webdav/frame/ErrorXml.h"

#include "webdav/xml/MarkupDocument.h"

namespace webdav {

namespace {

constexpr std::string_view kQuindleNamespace = "http://quindle.example/ns/webdav/";

}  // namespace

std::string ExceptionKey(std::string_view reason) {
    return "QUIN\\DAV\\Exception\\" + std::string(reason);
}

std::string BuildErrorXml(const ErrorRecord& record) {
    MarkupDocument document;
    document.addElement("d:error");
    document.setAttribute("xmlns:d", "DAV:");
    document.setAttribute("xmlns:quin", kQuindleNamespace);
    document.addChildElement("quin:webdav-version", CVWEBDAV_VERSION);
    document.addChildElement("quin:exception", record.exceptionKey);
    document.addChildElement("quin:message", record.message);
    return document.takeText();
}

}  // namespace webdav
