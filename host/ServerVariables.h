// The server variables of a request, by the names that the extension interface publishes.
//
// Called from the worker thread that runs the request; a name that is not known, or that stands
// for a header the request does not have, yields nothing.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/Request.h"

namespace host {

/// Letter case does not count, and "-" and "_" are one in a name that is asked for.
std::optional<std::string> serverVariable(const Request& request, std::string_view name);

}  // namespace host
