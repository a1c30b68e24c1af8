#include "host/ServerVariables.h"

#include <algorithm>

#include "host/Ascii.h"

namespace host {
namespace {

using Value = std::optional<std::string>;

constexpr std::string_view kHeaderPrefix = "HTTP-";

std::string headerVariableName(std::string_view header) {
    std::string name = "HTTP_";
    for (const char c : header) {
        const char letter = lowered(c);
        const bool isLetter = letter >= 'a' && letter <= 'z';
        name.push_back(c == '-' ? '_' : isLetter ? static_cast<char>(letter - 32) : c);
    }
    return name;
}

Value allHttp(const Request& request) {
    std::string all;
    for (const HeaderField& field : request.head.fields()) {
        all.append(headerVariableName(field.name)).append(":").append(field.value).append("\n");
    }
    return all;
}

Value contentLength(const Request& request) {
    if (request.head.chunked()) return std::to_string(request.bodySize());
    return request.head.value("Content-Length");
}

Value serverName(const Request& request) {
    const std::string authority = request.target.authority.empty()
                                      ? request.head.value("Host").value_or("")
                                      : request.target.authority;
    if (authority.empty()) return request.connection.localAddress;
    return std::string(hostOfAuthority(authority));
}

Value path(const Request& request) {
    return request.target.path;
}
Value localAddress(const Request& request) {
    return request.connection.localAddress;
}
Value remoteAddress(const Request& request) {
    return request.connection.remoteAddress;
}

struct Variable {
    std::string_view name;
    Value (*value)(const Request&);
};

constexpr Variable kVariables[] = {
    {"ALL-HTTP", allHttp},
    // To the end of the head, so that a body can follow it.
    {"ALL-RAW", [](const Request& r) { return Value(std::string(r.head.lines()) + "\r\n"); }},
    {"CONTENT-LENGTH", contentLength},
    {"CONTENT-TYPE", [](const Request& r) { return r.head.value("Content-Type"); }},
    {"HTTPS", [](const Request& r) { return Value(r.connection.secure ? "on" : "off"); }},
    {"LOCAL-ADDR", localAddress},
    {"PATH-INFO", path},
    {"QUERY-STRING", [](const Request& r) { return Value(r.target.query); }},
    {"REMOTE-ADDR", remoteAddress},
    {"REMOTE-HOST", remoteAddress},
    {"REMOTE-PORT",
     [](const Request& r) { return Value(std::to_string(r.connection.remotePort)); }},
    {"REQUEST-METHOD", [](const Request& r) { return Value(r.head.method()); }},
    {"SCRIPT-NAME", path},
    {"SERVER-ADDR", localAddress},
    {"SERVER-NAME", serverName},
    {"SERVER-PORT", [](const Request& r) { return Value(std::to_string(r.connection.localPort)); }},
    {"SERVER-PORT-SECURE", [](const Request& r) { return Value(r.connection.secure ? "1" : "0"); }},
    {"SERVER-PROTOCOL", [](const Request& r) { return Value(r.head.version()); }},
    {"SERVER-SOFTWARE", [](const Request&) { return Value("cvwebdavd/" CVWEBDAV_VERSION); }},
    {"URL", path},
};

}  // namespace

Value serverVariable(const Request& request, std::string_view name) {
    std::string asked(name);
    std::ranges::replace(asked, '_', '-');
    for (const Variable& variable : kVariables) {
        if (sameText(variable.name, asked)) return variable.value(request);
    }
    if (!sameText(std::string_view(asked).substr(0, kHeaderPrefix.size()), kHeaderPrefix)) {
        return std::nullopt;
    }
    return request.head.value(std::string_view(asked).substr(kHeaderPrefix.size()));
}

}  // namespace host
