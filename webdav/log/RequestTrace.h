// Traces of whole requests and answers, a file for each request, to find out what a client does.
//
// Called by the request's own thread. The files hold everything that was sent, credentials
// included: only the owner of the process may read them. What cannot be written is left out; a
// trace never changes an answer.
#pragma once

#include <string>
#include <string_view>

#include "platform/LocalTime.h"

namespace webdav {

/// What names the trace file of a request, made when the request arrives and kept for its answer.
struct TraceContext {
    std::string tag;            ///< of the request's log lines
    std::string remoteAddress;  ///< of the client
    platform::DateTime arrived = platform::localFromMs(platform::nowUtcMs());
    /// The request has been handed over.
    bool begun = false;
    /// The request was no valid UTF-8, so its answer goes into the same file.
    bool invalidRequest = false;
};

/// Whether traces are wanted, read anew from the settings.
bool TracingEnabled();

/// The directory for traces of that local day, made when missing.
std::string TraceDirectory(const platform::DateTime& day);
/// The directory for today's traces.
std::string TraceDirectory();

/// Writes a request (before its answer) or an answer, when traces are wanted. Head: the request or
/// status line and the headers, with their closing empty line. A request or answer that is no valid
/// UTF-8 has a file name of its own, easy to find.
void TraceMessage(TraceContext& context, std::string_view head, std::string_view body,
                  bool isRequest, bool invalidUtf8);

}  // namespace webdav
