#include "tests/wire/WireServer.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "groupware/mail/MailMessage.h"
#include "platform/Error.h"
#include "tests/wire/WireScript.h"

namespace wire {

namespace {

/// As web servers do, only the start of a body stands in the control block.
constexpr size_t kBodyInBlock = 49152;

/// One request on its way through the module; ConnID leads back here.
struct Call {
    Request& request;
    size_t bodyRead = 0;
    std::string answer;
    bool headSent = false;
    std::string breach;
};

Call& callOf(HCONN connection) {
    return *static_cast<Call*>(connection);
}

bool sameName(std::string_view a, std::string_view b) {
    const auto folded = [](char c) {
        if (c == '_') return '-';
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    };
    return std::ranges::equal(a, b, {}, folded, folded);
}

std::optional<std::string> headerValue(const Request& request, std::string_view name) {
    for (const auto& [header, value] : request.headers) {
        if (sameName(header, name)) return value;
    }
    return std::nullopt;
}

std::optional<std::string> variable(const Request& request, std::string_view name) {
    constexpr std::string_view kHeaderPrefix = "HTTP_";
    const std::pair<std::string_view, std::string> fixed[] = {
        {"URL", request.path},
        {"SCRIPT_NAME", request.path},
        {"REMOTE_ADDR", "192.0.2.7"},
        {"SERVER_ADDR", "192.0.2.1"},
        {"SERVER_NAME", "dav.example.test"},
        {"HTTPS", request.secure ? "on" : "off"},
        {"CONTENT_LENGTH", std::to_string(request.body.size())},
    };
    for (const auto& [known, value] : fixed) {
        if (sameName(known, name)) return value;
    }
    if (!sameName(name.substr(0, kHeaderPrefix.size()), kHeaderPrefix)) return std::nullopt;
    return headerValue(request, name.substr(kHeaderPrefix.size()));
}

BOOL WINAPI getServerVariable(HCONN connection, LPSTR name, LPVOID buffer, LPDWORD size) {
    const auto value = variable(callOf(connection).request, name);
    if (!value) {
        platform::setLastError(platform::kErrorInvalidIndex);
        return FALSE;
    }
    const DWORD room = *size;
    *size = static_cast<DWORD>(value->size() + 1);
    if (room < *size) {
        platform::setLastError(platform::kErrorInsufficientBuffer);
        return FALSE;
    }
    std::memcpy(buffer, value->c_str(), *size);
    return TRUE;
}

BOOL WINAPI readClient(HCONN connection, LPVOID buffer, LPDWORD size) {
    Call& call = callOf(connection);
    const size_t end =
        std::min(call.request.closedAfter.value_or(SIZE_MAX), call.request.body.size());
    const size_t count = std::min<size_t>(*size, end - call.bodyRead);
    std::memcpy(buffer, call.request.body.data() + call.bodyRead, count);
    call.bodyRead += count;
    *size = static_cast<DWORD>(count);
    return TRUE;
}

BOOL WINAPI writeClient(HCONN connection, LPVOID data, LPDWORD size, DWORD) {
    Call& call = callOf(connection);
    if (!call.headSent) call.breach = "it wrote a body before the headers";
    call.answer.append(static_cast<const char*>(data), *size);
    return TRUE;
}

BOOL WINAPI serverSupport(HCONN connection, DWORD request, LPVOID buffer, LPDWORD, LPDWORD) {
    Call& call = callOf(connection);
    if (request != HSE_REQ_SEND_RESPONSE_HEADER_EX) return FALSE;
    const auto& info = *static_cast<const HSE_SEND_HEADER_EX_INFO*>(buffer);
    if (call.headSent) call.breach = "it sent headers twice";
    if (info.fKeepConn != FALSE) call.breach = "it asked to keep the connection";
    call.headSent = true;
    call.answer.append("HTTP/1.1 ").append(info.pszStatus, info.cchStatus).append("\r\n");
    call.answer.append(info.pszHeader, info.cchHeader);
    return TRUE;
}

}  // namespace

void Request::setTarget(std::string_view target) {
    const size_t question = std::min(target.find('?'), target.size());
    query = target.substr(std::min(question + 1, target.size()));
    path.clear();
    for (size_t i = 0; i < question; ++i) {
        unsigned code = '/';
        const char* digits = target.data() + i + 1;
        if (target[i] == '%' && i + 2 < question &&
            std::from_chars(digits, digits + 2, code, 16).ptr != digits + 2)
            code = '/';
        path += code == '/' ? target[i] : static_cast<char>(code);
        if (code != '/') i += 2;
    }
}

std::string basicLogin(const std::string& address, const std::string& password) {
    return "Basic " + groupware::toBase64(address + ":" + password);
}

WireServer::WireServer() {
    if (library_.load(platform::libraryDirectory() + "CVWebDAV") != 0)
        throw WireError(library_.problem());
    const auto start = library_.function<PFN_GETEXTENSIONVERSION>("GetExtensionVersion");
    HSE_VERSION_INFO version{};
    if (start == nullptr || start(&version) == FALSE) {
        throw WireError("the module did not start up; its log tells why");
    }
    if (version.dwExtensionVersion != 0x70005 ||
        std::string_view(version.lpszExtensionDesc) != "Quindle Software WebDAV server") {
        throw WireError("the module calls itself by another version or name");
    }
}

WireServer::~WireServer() {
    library_.function<PFN_TERMINATEEXTENSION>("TerminateExtension")(HSE_TERM_MUST_UNLOAD);
}

std::string WireServer::call(Request& request) {
    std::string noPath;
    std::string contentType = headerValue(request, "Content-Type").value_or("");
    const size_t given =
        std::min({request.body.size(), kBodyInBlock, request.closedAfter.value_or(SIZE_MAX)});
    Call call{request, given, {}, false, {}};

    EXTENSION_CONTROL_BLOCK block{};
    block.cbSize = sizeof block;
    block.dwVersion = HSE_VERSION_MAJOR << 16 | HSE_VERSION_MINOR;
    block.ConnID = &call;
    block.lpszMethod = request.method.data();
    block.lpszQueryString = request.query.data();
    block.lpszPathInfo = request.path.data();
    block.lpszPathTranslated = noPath.data();
    block.cbTotalBytes = static_cast<DWORD>(request.body.size());
    block.cbAvailable = static_cast<DWORD>(given);
    block.lpbData = reinterpret_cast<LPBYTE>(request.body.data());
    block.lpszContentType = contentType.data();
    block.GetServerVariable = getServerVariable;
    block.WriteClient = writeClient;
    block.ReadClient = readClient;
    block.ServerSupportFunction = serverSupport;

    const auto handle = library_.function<PFN_HTTPEXTENSIONPROC>("HttpExtensionProc");
    if (handle(&block) != HSE_STATUS_SUCCESS) call.breach = "it did not return success";
    if (!call.breach.empty()) throw WireError("the module broke the interface: " + call.breach);
    return call.answer;
}

}  // namespace wire
