// The module's log, cut into what it wrote before the first request and for each request.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/wire/WirePattern.h"

namespace wire {

/// One list of lines for the start, then one for each request; every line without its time stamp
/// and its request's tag: "INFO, message".
std::vector<std::vector<std::string>> logByRequest(std::string_view log);

/// The first expected line that does not follow, in its order, among the lines; nothing when all
/// do.
std::optional<std::string> firstMissing(const std::vector<std::string>& expected,
                                        const std::vector<std::string>& lines, Captures& captures);

}  // namespace wire
