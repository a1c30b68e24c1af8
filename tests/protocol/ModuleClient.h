// The whole way through the module and the store for tests in tables: requests in, answers and log
// lines out. Single-threaded; one in a process, as the module is set up once.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/double/StoreDouble.h"
#include "tests/wire/WireServer.h"
#include "tests/wire/WireStore.h"

namespace protocol {

struct Answer {
    int status = 0;
    std::string body;
};

class ModuleClient {
  public:
    /// A command of the conversation tests; their README tells them.
    void set(const std::string& command, const std::string& text = {});
    /// Tells a store operation to fail, see StoreDouble.h.
    void fail(const std::string& operation, int32_t result, uint32_t call);
    /// The number of failures that have not come.
    uint32_t forgetFailures();

    /// Notes the calls of an operation, and what it has noted since.
    void watch(const std::string& operation);
    std::string seen();

    /// Who sends the requests that follow; an empty address for nobody.
    void logIn(const std::string& address, const std::string& password);
    void setAgent(const std::string& agent) { agent_ = agent; }
    Answer call(const std::string& method, std::string_view url, std::string body = {},
                const std::string& depth = "1");

    /// Ends the module; the log lines of each call, in their order.
    std::vector<std::vector<std::string>> endAndReadLog();
    wire::WireStore& store() { return store_; }

  private:
    wire::WireStore store_;
    std::unique_ptr<wire::WireServer> server_;
    std::string authorization_;
    std::string agent_;
};

}  // namespace protocol
