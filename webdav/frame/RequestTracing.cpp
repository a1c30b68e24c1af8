// What the trace of a request shows before its bodies: the request line, rebuilt from the server's
// variables, and the headers of both sides.
#include <string>

#include "webdav/base/Text.h"
#include "webdav/frame/WebDAVRequest.h"

namespace webdav {

namespace {

/// GET http://host:8080/webdav/?token=x HTTP/1.1
std::string requestLine(const std::string& method, ISAPIData& data) {
    const bool secure = EqualsNoCase(data.GetServerVar("HTTPS"), "on");
    const std::string& port = data.GetServerVar("SERVER_PORT");
    const std::string& query = data.GetServerVar("QUERY_STRING");
    std::string line = method + (secure ? " https://" : " http://");
    line += data.GetServerVar("SERVER_NAME");
    if (!port.empty() && port != (secure ? "443" : "80")) line += ':' + port;
    line += data.GetServerVar("URL");
    if (!query.empty()) line += '?' + query;
    return line + ' ' + data.GetServerVar("SERVER_PROTOCOL") + "\r\n";
}

}  // namespace

const ServiceSwitches& WebDAVRequest::Switches() {
    if (!switches_) switches_ = ReadServiceSwitches();
    return *switches_;
}

void WebDAVRequest::TraceRequest() {
    if (!Switches().tracing) return;
    trace_.tag = RequestTag();
    trace_.remoteAddress = Data().GetServerVar("REMOTE_ADDR");
    const std::string head = requestLine(Method(), Data()) + Data().GetRawHeaders();
    const std::string_view body = Data().GetBody();
    TraceMessage(trace_, head, body, true, !IsValidUtf8(body));
}

void WebDAVRequest::TraceResponse(std::string_view body, bool invalidUtf8) {
    if (!Switches().tracing) return;
    // A login is refused before the request's own turn.
    if (!trace_.begun) TraceRequest();
    const std::string head =
        Data().GetServerVar("SERVER_PROTOCOL") + ' ' + StatusLine() + "\r\n" + HeaderBlock();
    TraceMessage(trace_, head, body, false, invalidUtf8);
}

}  // namespace webdav
