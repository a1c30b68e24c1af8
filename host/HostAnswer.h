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

/// The answer of a status that is over after a time: 429 or 503.
HostAnswer makeBusyAnswer(unsigned status, std::chrono::milliseconds comeBackAfter);

/// The answer 200 with a body. The header lines besides those of the body end in CR LF each.
HostAnswer makeDocument(std::string_view contentType, std::string_view headerLines,
                        std::string body);

}  // namespace host
