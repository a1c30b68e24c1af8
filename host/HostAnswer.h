// The answers that the host makes itself: refusals and redirects, short and final.
#pragma once

#include <string>
#include <string_view>

namespace host {

struct HostAnswer {
    std::string head;
    std::string body;
};

/// The answer of a status number; the location is for redirects.
HostAnswer makeHostAnswer(unsigned status, std::string_view location = {});

}  // namespace host
