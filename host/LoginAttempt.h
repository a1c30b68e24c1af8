// Whether a request carries credentials, and for which login name. The password is not looked at.
#pragma once

#include <optional>
#include <string>

#include "host/Request.h"

namespace host {

struct LoginAttempt {
    std::string login;  ///< in small letters, cut to a bound; empty when it does not say
    /// False when something else in the request may be what let it in.
    bool provesLogin = true;
};

/// Reads "Authorization: Basic" (RFC 7617), or on a secure connection the fields username and
/// password of the query. Nothing when the request carries no credentials.
std::optional<LoginAttempt> loginAttemptOf(const Request& request);

}  // namespace host
