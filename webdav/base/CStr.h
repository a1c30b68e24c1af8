// A byte string that formats into itself by printf's rules.
#pragma once

#include <cstdarg>
#include <string>

namespace webdav {

class CStr {
  public:
    CStr() = default;
    virtual ~CStr() = default;

    /// Replaces the text. Raises std::runtime_error "Unable to format string" when that fails.
    [[gnu::format(printf, 2, 3)]] void Format(const char* format, ...);

    const std::string& text() const { return text_; }

  private:
    std::string text_;
};

/// The formatted text, for use in an expression.
[[gnu::format(printf, 1, 2)]] std::string FormatText(const char* format, ...);
/// Appends the formatted text of arguments that the caller was given.
[[gnu::format(printf, 2, 0)]] void AppendFormatV(std::string& text, const char* format,
                                                 va_list arguments);

}  // namespace webdav
