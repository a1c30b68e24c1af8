#include "tests/host/TestExtension.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <sstream>
#include <stdexcept>

#include "platform/Error.h"

namespace host {
namespace {

std::mutex gateMutex;
std::condition_variable gateChanged;
bool gateOpen = false;
int blocked = 0;

BOOL sendHead(EXTENSION_CONTROL_BLOCK& block, std::string status, std::string header) {
    HSE_SEND_HEADER_EX_INFO info{};
    info.pszStatus = status.c_str();
    info.cchStatus = static_cast<DWORD>(status.size());
    info.pszHeader = header.c_str();
    info.cchHeader = static_cast<DWORD>(header.size());
    return block.ServerSupportFunction(block.ConnID, HSE_REQ_SEND_RESPONSE_HEADER_EX, &info,
                                       nullptr, nullptr);
}

BOOL sendBody(EXTENSION_CONTROL_BLOCK& block, std::string body) {
    DWORD size = static_cast<DWORD>(body.size());
    return block.WriteClient(block.ConnID, body.data(), &size, 0);
}

void answer(EXTENSION_CONTROL_BLOCK& block, const std::string& body) {
    sendHead(block, "299 As given", "zeta: 1\r\nAlpha:2\r\n\r\n");
    sendBody(block, body);
}

std::string variable(EXTENSION_CONTROL_BLOCK& block, std::string name, DWORD room) {
    std::array<char, 4096> buffer{};
    DWORD size = room;
    platform::setLastError(0);
    if (block.GetServerVariable(block.ConnID, name.data(), buffer.data(), &size)) {
        return std::string(buffer.data()) + "/" + std::to_string(size);
    }
    return "error " + std::to_string(platform::lastError()) + "/" + std::to_string(size);
}

void showVariables(EXTENSION_CONTROL_BLOCK& block) {
    answer(block, "HTTPS=" + variable(block, "HTTPS", 4096) +
                      "\nREMOTE_ADDR=" + variable(block, "REMOTE_ADDR", 4096) +
                      "\nexact=" + variable(block, "REMOTE_ADDR", 10) +
                      "\nshort=" + variable(block, "REMOTE_ADDR", 9) +
                      "\nunknown=" + variable(block, "HTTP_X_NONE", 4096) + "\n");
}

void echo(EXTENSION_CONTROL_BLOCK& block) {
    std::array<char, 8> more{};
    DWORD moreSize = more.size();
    const BOOL read = block.ReadClient(block.ConnID, more.data(), &moreSize);
    std::ostringstream text;
    text << block.lpszMethod << " " << block.lpszPathInfo << " " << block.lpszQueryString << " "
         << block.lpszContentType << " " << block.cbTotalBytes << "/" << block.cbAvailable << " "
         << read << "/" << moreSize << "\n"
         << std::string(reinterpret_cast<const char*>(block.lpbData), block.cbAvailable);
    answer(block, text.str());
}

void misuse(EXTENSION_CONTROL_BLOCK& block) {
    const BOOL bodyFirst = sendBody(block, "too early");
    sendHead(block, "200 OK", "\r\n");
    const BOOL headAgain = sendHead(block, "500 No", "\r\n");
    sendBody(block, std::to_string(bodyFirst) + std::to_string(headAgain));
}

void block(EXTENSION_CONTROL_BLOCK& control) {
    std::unique_lock lock(gateMutex);
    ++blocked;
    gateChanged.notify_all();
    gateChanged.wait(lock, [] { return gateOpen; });
    --blocked;
    lock.unlock();
    answer(control, "went on");
}

/// Takes every name and password of a request that says that they are right.
void logIn(EXTENSION_CONTROL_BLOCK& block) {
    const bool right = variable(block, "HTTP_X_RIGHT", 4096).starts_with("yes/");
    sendHead(block, right ? "200 OK" : "401 Unauthorized", "\r\n");
    sendBody(block, {reinterpret_cast<const char*>(block.lpbData), block.cbAvailable});
}

DWORD WINAPI call(EXTENSION_CONTROL_BLOCK* control) {
    const std::string path = control->lpszPathInfo;
    if (path == "/webdav/variables") showVariables(*control);
    if (path.starts_with("/webdav/echo")) echo(*control);
    if (path == "/webdav/misuse") misuse(*control);
    if (path == "/webdav/block") block(*control);
    if (path == "/webdav/login") logIn(*control);
    if (path == "/webdav/error") sendHead(*control, "500 No", "\r\n");
    if (path == "/webdav/" && std::string(control->lpszMethod) == "OPTIONS") answer(*control, "");
    if (path == "/webdav/large") answer(*control, std::string(4'000'000, 'x'));
    if (path == "/webdav/throw") throw std::runtime_error("on purpose");
    return HSE_STATUS_SUCCESS;
}

}  // namespace

ExtensionModule TestExtension::module() {
    gateOpen = false;
    return ExtensionModule([](HSE_VERSION_INFO*) -> BOOL { return TRUE; }, call,
                           [](DWORD) -> BOOL { return TRUE; });
}

void TestExtension::openGate() {
    const std::lock_guard lock(gateMutex);
    gateOpen = true;
    gateChanged.notify_all();
}

void TestExtension::waitUntilBlocked(int calls) {
    std::unique_lock lock(gateMutex);
    gateChanged.wait_for(lock, std::chrono::seconds(20), [calls] { return blocked == calls; });
}

}  // namespace host
