// The answers that the host makes itself: refusals, redirects and pages, each final.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace host {

struct HostAnswer {
    std::string head;
    std::string body;
};

/// The answer of a status number; the location is for redirects.
HostAnswer makeHostAnswer(unsigned status, std::string_view location = {});

/// The answer to a login that comes too soon after others have failed: 429.
HostAnswer makePenaltyAnswer(std::chrono::milliseconds comeBackAfter);

/// An answer with a body of its own. The header lines besides those of the body end in CR LF each.
HostAnswer makeDocument(std::string_view contentType, std::string_view headerLines,
                        std::string body, unsigned status = 200);

/// The status of an answer by its head, "HTTP/1.1 200 OK..."; 0 when that is none.
unsigned statusOf(std::string_view head);

}  // namespace host
