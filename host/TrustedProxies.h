// What proxies in front of this server say of the client: X-Forwarded-For and X-Forwarded-Proto.
//
// Called by the session when a head is whole. Only what comes from a trusted address counts; the
// proxy has to set both headers itself, for what it passes on unseen is the client's invention.
// That is why other headers of this purpose are not looked at.
#pragma once

#include <string_view>
#include <vector>

#include "host/Network.h"
#include "host/Request.h"

namespace host {

class TrustedProxies {
  public:
    TrustedProxies() = default;
    explicit TrustedProxies(std::vector<Network> networks) : networks_(std::move(networks)) {}

    bool trusts(std::string_view address) const;
    /// Makes the request's connection the one between the client and the outermost trusted proxy,
    /// as far as it is told.
    void apply(Request& request) const;

  private:
    std::vector<Network> networks_;
};

}  // namespace host
