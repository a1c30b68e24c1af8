// The host's own problems, one line each on standard error. Safe from every thread. Nothing of a
// request goes in here, since its path and headers may carry credentials, but the login names of
// logins that fail.
#pragma once

#include <string_view>

namespace host {

void logProblem(std::string_view text);

}  // namespace host
