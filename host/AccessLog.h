// A line for each request in a file, in the form that log analysers know (Combined) or as JSON.
//
// Guarded by who has it (RequestWatch). Queries are left out, since they may carry credentials;
// what a client sent is escaped. A line that cannot be written is lost, which is told once.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "host/RequestRecord.h"
#include "platform/Files.h"

namespace host {

class AccessLog {
  public:
    enum class Format { kCombined, kJson };

    AccessLog(std::string file, Format format) : file_(std::move(file)), format_(format) {}

    /// Also when the file was moved away: the next lines go to a new one of that name. Result: what
    /// went wrong, or nothing; then the file that was open stays so.
    std::optional<std::string> open();
    void write(const RequestRecord& record);

  private:
    const std::string file_;
    const Format format_;
    std::unique_ptr<platform::AppendFile> open_;
    bool failing_ = false;
};

}  // namespace host
