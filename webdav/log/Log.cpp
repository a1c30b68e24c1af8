#include "webdav/log/Log.h"

#include <cstdarg>
#include <stdexcept>
#include <string>

#include "webdav/base/CStr.h"
#include "webdav/log/LogThread.h"

namespace webdav {

void Log(int level, const char* tag, const char* format, ...) {
    LogThread& log = LogThread::Instance();
    if (!log.Wants(level)) return;
    va_list arguments;
    va_start(arguments, format);
    std::string message;
    try {
        message = FormatTextV(format, arguments);
    } catch (const std::runtime_error&) {
        message = format;  // a line that cannot be formatted is no reason to fail a request
    }
    va_end(arguments);
    log.Add(level, tag == nullptr ? "" : tag, message);
}

}  // namespace webdav
