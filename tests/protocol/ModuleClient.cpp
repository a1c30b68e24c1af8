#include "tests/protocol/ModuleClient.h"

#include <algorithm>
#include <cstdlib>

#include "tests/wire/WireLog.h"

namespace protocol {

void ModuleClient::set(const std::string& command, const std::string& text) {
    if (!store_.run({0, wire::splitWords(command), text}))
        throw wire::WireError("no such command: " + command);
}

void ModuleClient::fail(const std::string& operation, int32_t result, uint32_t call) {
    const auto tell = store_.storeDouble().function<decltype(&StoreDoubleFail)>("StoreDoubleFail");
    if (!tell(operation.c_str(), result, call)) throw wire::WireError("no such: " + operation);
}

uint32_t ModuleClient::forgetFailures() {
    return store_.storeDouble().function<decltype(&StoreDoubleReset)>("StoreDoubleReset")();
}

void ModuleClient::watch(const std::string& operation) {
    store_.storeDouble().function<decltype(&StoreDoubleWatch)>("StoreDoubleWatch")(
        operation.c_str());
}

std::string ModuleClient::seen() {
    return store_.storeDouble().function<decltype(&StoreDoubleSeen)>("StoreDoubleSeen")();
}

void ModuleClient::logIn(const std::string& address, const std::string& password) {
    authorization_ = address.empty() ? "" : wire::basicLogin(address, password);
}

Answer ModuleClient::call(const std::string& method, std::string_view url, std::string body,
                          const std::string& depth) {
    if (!server_) server_ = std::make_unique<wire::WireServer>();
    wire::Request request;
    request.method = method;
    request.setTarget(url);
    request.headers = {{"Depth", depth}, {"User-Agent", agent_}};
    if (!authorization_.empty()) request.headers.emplace_back("Authorization", authorization_);
    request.body = std::move(body);
    const std::string answer = server_->call(request);
    const size_t headEnd = std::min(answer.find("\r\n\r\n"), answer.size());
    return {std::atoi(answer.substr(answer.find(' ')).c_str()),
            answer.substr(std::min(headEnd + 4, answer.size()))};
}

std::vector<std::vector<std::string>> ModuleClient::endAndReadLog() {
    server_.reset();
    auto lines = wire::logByRequest(store_.readLog());
    lines.erase(lines.begin());
    return lines;
}

}  // namespace protocol
