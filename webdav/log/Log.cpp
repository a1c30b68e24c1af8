#include "webdav/log/Log.h"

#include <cstdarg>
#include <stdexcept>
#include <string>
#include <utility>

#include "webdav/base/CStr.h"
#include "webdav/log/LogThread.h"

namespace webdav {

void Log(int level, const char* tag, const char* format, ...) {
    LogThread& log = LogThread::Instance();
    if (!log.Wants(level)) return;
    std::string line = LogThread::LineStart(level, tag == nullptr ? "" : tag);
    va_list arguments;
    va_start(arguments, format);
    try {
        AppendFormatV(line, format, arguments);
    } catch (const std::runtime_error&) {
        line += format;  // a line that cannot be formatted is no reason to fail a request
    }
    va_end(arguments);
    if (log.Wants(level)) log.Queue(std::move(line));
}

}  // namespace webdav
