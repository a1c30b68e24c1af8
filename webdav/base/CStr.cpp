#include "webdav/base/CStr.h"

#include <cstdio>
#include <stdexcept>
#include <string_view>
#include <utility>

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

void appendByPrintf(std::string& text, const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const ArgumentsEnd end(again);
    char most[256];  // of the texts fit
    const int length = std::vsnprintf(most, sizeof most, format, arguments);
    if (length < 0) throw std::runtime_error("Unable to format string");
    const auto size = static_cast<size_t>(length);
    if (size < sizeof most) {
        text.append(most, size);
        return;
    }
    const size_t before = text.size();
    text.resize(before + size);
    // The terminator goes where the string has its own.
    if (std::vsnprintf(text.data() + before, size + 1, format, again) != length)
        throw std::runtime_error("Unable to format string");
}

/// Formats when every conversion is a plain "%s", which costs a fraction of what printf does; false
/// for all others, with a part of the text appended.
bool appendTexts(std::string& text, std::string_view format, va_list arguments) {
    for (size_t at = format.find('%'); at != format.npos; at = format.find('%')) {
        if (!format.substr(at).starts_with("%s")) return false;
        const char* const argument = va_arg(arguments, const char*);
        text.append(format.substr(0, at)).append(argument == nullptr ? "(null)" : argument);
        format.remove_prefix(at + 2);
    }
    text.append(format);
    return true;
}

}  // namespace

void AppendFormatV(std::string& text, const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const ArgumentsEnd end(again);
    const size_t before = text.size();
    if (appendTexts(text, format, again)) return;
    text.resize(before);
    appendByPrintf(text, format, arguments);
}

std::string FormatText(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const ArgumentsEnd end(arguments);
    std::string text;
    AppendFormatV(text, format, arguments);
    return text;
}

void CStr::Format(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const ArgumentsEnd end(arguments);
    std::string text;  // an argument may be the text so far
    AppendFormatV(text, format, arguments);
    text_ = std::move(text);
}

}  // namespace webdav
