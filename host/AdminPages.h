// What an administrator can ask a running server for: /metrics, /status and /healthz.
//
// Event loop only; outlives the listener that shows the pages. The health check runs on a worker.
#pragma once

#include "host/AdminListener.h"
#include "host/HealthCheck.h"
#include "host/SessionServices.h"

namespace host {

class AdminPages {
  public:
    /// What is empty (backslashes) is not looked at.
    AdminPages(SessionServices& services, std::string dataDirectory,
               const std::string& storeLibrary);

    AdminListener::Pages all();

  private:
    LiveNumbers now() const;
    size_t unsentMails() const;
    boost::asio::awaitable<HostAnswer> metrics();
    boost::asio::awaitable<HostAnswer> status();
    boost::asio::awaitable<HostAnswer> health();

    SessionServices& services_;
    const std::string dataDirectory_;
    const StoreProbe store_;
    const HealthCheck healthCheck_;
    const int64_t upSinceMs_;
};

}  // namespace host
