#include "host/ExtensionCall.h"

#include <cstring>
#include <exception>
#include <optional>

#include "host/Log.h"
#include "host/ServerVariables.h"
#include "platform/Error.h"

namespace host {
namespace {

constexpr DWORD kBlockVersion = HSE_VERSION_MAJOR << 16 | HSE_VERSION_MINOR;

BOOL refuse(uint32_t error) {
    platform::setLastError(error);
    return FALSE;
}

}  // namespace

ExtensionCall::ExtensionCall(Request& request)
    : request_(request),
      method_(request.head.method()),
      contentType_(request.head.value("Content-Type").value_or("")) {}

EXTENSION_CONTROL_BLOCK ExtensionCall::makeBlock() {
    EXTENSION_CONTROL_BLOCK block{};
    block.cbSize = sizeof block;
    block.dwVersion = kBlockVersion;
    block.ConnID = this;
    block.lpszMethod = method_.data();
    block.lpszQueryString = request_.target.query.data();
    block.lpszPathInfo = request_.target.path.data();
    block.lpszPathTranslated = pathTranslated_.data();
    block.lpszContentType = contentType_.data();
    block.cbTotalBytes = static_cast<DWORD>(request_.bodySize());
    block.cbAvailable = static_cast<DWORD>(request_.body.size());
    block.lpbData = reinterpret_cast<LPBYTE>(request_.body.data());
    block.GetServerVariable = getServerVariable;
    block.WriteClient = writeClient;
    block.ReadClient = readClient;
    block.ServerSupportFunction = serverSupport;
    return block;
}

void ExtensionCall::run(const ExtensionModule& module) {
    EXTENSION_CONTROL_BLOCK block = makeBlock();
    try {
        module.call(block);
    } catch (const std::exception& problem) {
        logProblem(std::string("the extension failed in a request: ") + problem.what());
    } catch (...) {
        logProblem("the extension failed in a request");
    }
}

BOOL WINAPI ExtensionCall::getServerVariable(HCONN connection, LPSTR name, LPVOID buffer,
                                             LPDWORD size) {
    const std::optional<std::string> value = serverVariable(of(connection).request_, name);
    if (!value) return refuse(platform::kErrorInvalidIndex);
    const DWORD room = *size;
    *size = static_cast<DWORD>(value->size() + 1);
    if (room < *size) return refuse(platform::kErrorInsufficientBuffer);
    std::memcpy(buffer, value->c_str(), *size);
    return TRUE;
}

BOOL WINAPI ExtensionCall::writeClient(HCONN connection, LPVOID data, LPDWORD size, DWORD) {
    ExtensionCall& call = of(connection);
    if (call.answerHead_.empty()) return refuse(platform::kErrorInvalidIndex);
    if (call.method_ == "HEAD") return TRUE;
    call.answerBody_.append(static_cast<const char*>(data), *size);
    return TRUE;
}

BOOL WINAPI ExtensionCall::readClient(HCONN connection, LPVOID, LPDWORD size) {
    // All of the body that ever comes stands in the control block already.
    *size = 0;
    const uint32_t error = of(connection).request_.cutShort.value_or(0);
    platform::setLastError(error);
    return error == 0 ? TRUE : FALSE;
}

BOOL WINAPI ExtensionCall::serverSupport(HCONN connection, DWORD request, LPVOID buffer, LPDWORD,
                                         LPDWORD) {
    ExtensionCall& call = of(connection);
    if (request != HSE_REQ_SEND_RESPONSE_HEADER_EX || buffer == nullptr ||
        !call.answerHead_.empty()) {
        return refuse(platform::kErrorInvalidIndex);
    }
    const auto& info = *static_cast<const HSE_SEND_HEADER_EX_INFO*>(buffer);
    call.answerHead_ = "HTTP/1.1 ";
    call.answerHead_.append(info.pszStatus, info.cchStatus).append("\r\n");
    call.answerHead_.append(info.pszHeader, info.cchHeader);
    return TRUE;
}

}  // namespace host
