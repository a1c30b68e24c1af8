#include "host/AccessLog.h"

#include <nlohmann/json.hpp>

#include "host/Escape.h"
#include "host/Log.h"
#include "host/TimeText.h"
#include "platform/Error.h"
#include "platform/LocalTime.h"

namespace host {
namespace {

std::string withoutQuery(std::string_view target) {
    return escaped(target.substr(0, target.find('?')), 2048);
}

std::string header(const Request& request, std::string_view name) {
    return request.head.value(name).value_or("");
}

std::string orDash(std::string text) {
    return text.empty() ? "-" : text;
}

/// A blank would end the field.
std::string loginField(const std::string& login) {
    std::string field = orDash(escaped(login));
    for (size_t at = field.find(' '); at != std::string::npos; at = field.find(' ', at)) {
        field.replace(at, 1, "\\x20");
    }
    return field;
}

/// A dash when what came was no request.
std::string requestLine(const RequestHead& head) {
    if (head.version().empty()) return "-";
    std::string line = escaped(head.method());
    line.append(" ").append(withoutQuery(head.target())).append(" ");
    return line.append(escaped(head.version()));
}

std::string combinedLine(const RequestRecord& record) {
    const Request& request = record.request;
    std::string line = request.connection.remoteAddress;
    line.append(" - ").append(loginField(record.login));
    line.append(" [").append(commonLogTime(platform::nowUtcMs())).append("] \"");
    line.append(requestLine(request.head)).append("\" ");
    line.append(record.status == 0 ? "-" : std::to_string(record.status)).append(" ");
    line.append(std::to_string(record.sentBytes)).append(" \"");
    line.append(orDash(withoutQuery(header(request, "Referer")))).append("\" \"");
    return line.append(orDash(escaped(header(request, "User-Agent")))).append("\"\n");
}

std::string jsonLine(const RequestRecord& record) {
    const Request& request = record.request;
    const nlohmann::ordered_json line = {{"time", isoTime(platform::nowUtcMs())},
                                         {"client", request.connection.remoteAddress},
                                         {"login", escaped(record.login)},
                                         {"method", escaped(request.head.method())},
                                         {"path", withoutQuery(request.head.target())},
                                         {"status", record.status},
                                         {"received", record.bodyBytes},
                                         {"sent", record.sentBytes},
                                         {"seconds", secondsOf(record.took)},
                                         {"tls", request.connection.secure},
                                         {"agent", escaped(header(request, "User-Agent"))}};
    return line.dump() + "\n";
}

}  // namespace

std::optional<std::string> AccessLog::open() {
    auto file = platform::AppendFile::open(platform::fromNativePath(file_));
    if (file == nullptr) {
        return "cannot open the access log " + file_ + ": " +
               platform::describeError(platform::lastError());
    }
    open_ = std::move(file);
    failing_ = false;
    return std::nullopt;
}

void AccessLog::write(const RequestRecord& record) {
    const bool written =
        open_->write(format_ == Format::kJson ? jsonLine(record) : combinedLine(record));
    if (!written && !failing_) {
        logProblem("cannot write to the access log " + file_ + ": " +
                   platform::describeError(platform::lastError()));
    }
    failing_ = !written;
}

}  // namespace host
