#include "webdav/log/RequestTrace.h"

#include <algorithm>
#include <functional>
#include <memory>

#include "platform/Files.h"
#include "webdav/base/CStr.h"
#include "webdav/base/Settings.h"

namespace webdav {

namespace {

constexpr unsigned kDirectoryMode = 0700;
constexpr unsigned kFileMode = 0600;
constexpr const char* kModuleName = "CVWebDAV";
constexpr std::string_view kSeparator =
    "\r\n\r\n"
    "--------------------------------------------------------------------"
    "\r\n\r\n";

/// An address as part of a file name: the colons of IPv6 may not stand in one everywhere.
std::string namePart(std::string address) {
    const auto mayStand = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
               c == '.' || c == '-';
    };
    std::ranges::replace_if(address, std::not_fn(mayStand), '-');
    return address;
}

std::string baseName(const TraceContext& context, bool invalidUtf8) {
    const platform::DateTime& at = context.arrived;
    const std::string time = FormatText("%04d%02d%02d-%02d%02d%02d-%03d", at.year, at.month, at.day,
                                        at.hour, at.minute, at.second, at.milliseconds);
    const std::string address = namePart(context.remoteAddress);
    return FormatText("%s_%s_%s%s", context.tag.c_str(), address.c_str(), time.c_str(),
                      invalidUtf8 ? "_InvalidUTF8" : "");
}

}  // namespace

bool TracingEnabled() {
    return ReadServiceSwitches().tracing;
}

std::string TraceDirectory(const platform::DateTime& day) {
    const std::string root = LogDirectory();
    std::string directory = FormatText("%s\\%s\\%02u%02u%02u", root.c_str(), kModuleName,
                                       day.year % 1000U, day.month, day.day);
    platform::createDirectories(directory, kDirectoryMode);
    return directory;
}

std::string TraceDirectory() {
    return TraceDirectory(platform::localFromMs(platform::nowUtcMs()));
}

void TraceMessage(TraceContext& context, std::string_view head, std::string_view body,
                  bool isRequest, bool invalidUtf8) {
    if (isRequest) {
        context.begun = true;
        context.invalidRequest = invalidUtf8;
    }
    if (!TracingEnabled()) return;
    const std::string path = TraceDirectory(context.arrived) + '\\' +
                             baseName(context, invalidUtf8 || context.invalidRequest) + ".log";
    const std::unique_ptr<platform::AppendFile> file =
        platform::AppendFile::open(path, kFileMode, isRequest);
    if (!file) return;
    if (!isRequest) file->write(kSeparator);
    file->write(head);
    file->write(body);
    file->close();
}

}  // namespace webdav
