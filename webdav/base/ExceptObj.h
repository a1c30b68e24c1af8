// The one exception type of the module: an unexpected failure that ends a request with status 500.
//
// Thrown by value, caught by reference in the request pipeline; nothing else is thrown on purpose.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace webdav {

class ExceptObj {
  public:
    /// File: the part behind the last backslash is kept, "Unknown File" when there is none.
    ExceptObj(uint32_t line, std::string_view file, std::string_view message);

    uint32_t line() const { return line_; }
    const std::string& file() const { return file_; }
    const std::string& message() const { return message_; }
    const std::string& detail() const { return detail_; }

  private:
    uint32_t line_;
    std::string file_;
    std::string message_;
    std::string detail_;
    bool set_ = true;
};

}  // namespace webdav
