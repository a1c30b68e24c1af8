// Everyone who wants to know of the requests that are over. Event loop only.
#pragma once

#include <memory>

#include "host/AccessLog.h"
#include "host/Metrics.h"
#include "host/RecentRequests.h"

namespace host {

struct RequestWatch {
    Metrics metrics;
    RecentRequests recent;
    std::unique_ptr<AccessLog> accessLog;  ///< null: none was asked for

    void finished(const RequestRecord& record) {
        metrics.count(record);
        recent.note(record);
        if (accessLog != nullptr) accessLog->write(record);
    }
};

}  // namespace host
