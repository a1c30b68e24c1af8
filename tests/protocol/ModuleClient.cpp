#include "tests/protocol/ModuleClient.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "tests/wire/WireLog.h"
#include "webdav/base/Text.h"

namespace protocol {

void ModuleClient::set(const std::string& command, const std::string& text) {
    std::istringstream words(command);
    wire::Command read{0, {}, text};
    for (std::string word; words >> word;) read.words.push_back(word);
    if (!store_.run(read)) throw wire::WireError("no such command: " + command);
}

void ModuleClient::setting(const std::string& file, const std::string& section,
                           const std::string& key, const std::string& value) {
    store_.run({0, {"setting", file, section, key, value}, {}});
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

void ModuleClient::logIn(std::string_view address, std::string_view password) {
    authorization_ =
        address.empty()
            ? std::string()
            : "Basic " + webdav::Base64Encode(std::string(address) + ":" + std::string(password));
}

Answer ModuleClient::call(const std::string& method, std::string_view url, std::string body,
                          const std::string& depth) {
    if (!server_) server_ = std::make_unique<wire::WireServer>();
    const size_t question = std::min(url.find('?'), url.size());
    wire::Request request;
    request.method = method;
    request.path = url.substr(0, question);
    request.headers = {{"Depth", depth}, {"User-Agent", agent_}};
    request.body = std::move(body);
    if (question < url.size()) request.query = url.substr(question + 1);
    if (!authorization_.empty()) request.headers.emplace_back("Authorization", authorization_);
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
