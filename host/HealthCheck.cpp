#include "host/HealthCheck.h"

#include "host/ExtensionCall.h"
#include "host/HostAnswer.h"
#include "host/Request.h"
#include "platform/Error.h"
#include "platform/Files.h"

namespace host {
namespace {

constexpr unsigned kFirstError = 500;
/// A full disk may still have room for an empty file.
constexpr size_t kSampleSize = 4096;

}  // namespace

std::optional<std::string> HealthCheck::run() const {
    if (auto problem = askExtension()) return problem;
    // Asked directly: without a store the extension answers every login as if it were wrong.
    if (auto problem = store_.problem()) return problem;
    return dataDirectory_.empty() ? std::nullopt : writeFile();
}

std::optional<std::string> HealthCheck::askExtension() const {
    Request request;
    request.connection = {"127.0.0.1", 0, "127.0.0.1", 0, false};
    request.head.parse("OPTIONS /webdav/ HTTP/1.1\r\nHost: localhost\r\n\r\n");
    request.target.path = "/webdav/";
    ExtensionCall call(request);
    call.run(module_);
    const unsigned status = statusOf(call.answerHead());
    if (status > 0 && status < kFirstError) return std::nullopt;
    return "the extension answers OPTIONS with " +
           (status == 0 ? std::string("nothing") : std::to_string(status));
}

std::optional<std::string> HealthCheck::writeFile() const {
    const std::string path = dataDirectory_ + "\\.cvwebdavd-health";
    const bool written = platform::replaceFile(path, std::string(kSampleSize, ' '));
    const uint32_t error = platform::lastError();
    platform::removeFile(path);
    if (written) return std::nullopt;
    return "cannot write to the data directory: " + platform::describeError(error);
}

}  // namespace host
