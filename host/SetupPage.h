// The pages at /setup: how to connect a client to this server, and an Apple configuration profile.
//
// A pure function for the session. What the pages say stands in host/setup/, with {{names}} for
// what depends on the request; whatever comes from the client is checked, and escaped when it is
// put in. What the paths in those texts serve is nothing to the host.
#pragma once

#include "host/HostAnswer.h"
#include "host/Request.h"

namespace host {

/// The answer to a request whose path is /setup or below. The profile is for ?user=, if given.
HostAnswer setupAnswer(const Request& request);

}  // namespace host
