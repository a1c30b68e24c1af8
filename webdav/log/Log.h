// The one logging call of the module.
//
// Safe from every thread; costs the caller the formatting and a queue entry, the log thread writes.
// Text that a client sent may stand in the arguments: whatever it holds, it stays within its line.
// Credentials are never passed.
#pragma once

namespace webdav {

enum LogLevel : int {
    kLogDebug = 1,
    kLogInfo = 2,
    kLogWarning = 3,
    kLogError = 4,
    kLogCritical = 5,
    kLogStatus = 6,
};

/// Below the configured level nothing happens, the arguments are not even formatted. The tag may be
/// null or empty.
[[gnu::format(printf, 3, 4)]] void Log(int level, const char* tag, const char* format, ...);

}  // namespace webdav
