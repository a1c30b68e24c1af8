#include "webdav/base/CStr.h"

#include <cstdio>
#include <stdexcept>

namespace webdav {

namespace {

/// Ends the use of an argument list on every way out.
class ArgumentsEnd {
  public:
    explicit ArgumentsEnd(va_list& arguments) : arguments_(arguments) {}
    ~ArgumentsEnd() { va_end(arguments_); }
    ArgumentsEnd(const ArgumentsEnd&) = delete;
    ArgumentsEnd& operator=(const ArgumentsEnd&) = delete;

  private:
    va_list& arguments_;
};

}  // namespace

std::string FormatTextV(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const ArgumentsEnd end(again);
    char most[256];  // of the texts fit
    const int length = std::vsnprintf(most, sizeof most, format, arguments);
    if (length < 0) throw std::runtime_error("Unable to format string");
    if (static_cast<size_t>(length) < sizeof most) return {most, static_cast<size_t>(length)};
    std::string text(static_cast<size_t>(length), '\0');
    // The terminator goes where the string has its own.
    if (std::vsnprintf(text.data(), text.size() + 1, format, again) != length)
        throw std::runtime_error("Unable to format string");
    return text;
}

std::string FormatText(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const ArgumentsEnd end(arguments);
    return FormatTextV(format, arguments);
}

void CStr::Format(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const ArgumentsEnd end(arguments);
    text_ = FormatTextV(format, arguments);
}

}  // namespace webdav
