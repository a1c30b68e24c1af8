// Everyone who wants to know of the requests that are over.
//
// A request may end on any thread: finished() may be called from each, and who reads or changes
// what is in here holds the lock meanwhile.
#pragma once

#include <memory>
#include <mutex>

#include "host/AccessLog.h"
#include "host/Metrics.h"
#include "host/RecentRequests.h"

namespace host {

struct RequestWatch {
    std::mutex mutex;
    Metrics metrics;
    RecentRequests recent;
    std::unique_ptr<AccessLog> accessLog;  ///< null: none was asked for

    void finished(const RequestRecord& record) {
        const std::lock_guard lock(mutex);
        metrics.count(record);
        recent.note(record);
        if (accessLog != nullptr) accessLog->write(record);
    }
};

}  // namespace host
