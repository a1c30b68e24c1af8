// The host's own problems, one line each on standard error. Safe from every thread. Nothing of a
// request goes in here: its path and headers may carry credentials.
#pragma once

#include <string_view>

namespace host {

void logProblem(std::string_view text);

}  // namespace host
