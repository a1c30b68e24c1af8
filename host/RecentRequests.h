// What an administrator asks of a running server: what it is busy with, what was slow, what went
// wrong. Guarded by who has it (RequestWatch); a bounded number of each is kept.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "host/RequestRecord.h"

namespace host {

class RecentRequests {
  public:
    void note(const RequestRecord& record);
    /// The members busiest, slowest and errors.
    void addTo(nlohmann::ordered_json& status) const;

  private:
    struct Area {
        uint64_t requests = 0;
        std::chrono::microseconds took{0};
    };
    struct Entry {
        int64_t utcMs = 0;
        std::string method;
        std::string path;
        unsigned status = 0;
        std::chrono::microseconds took{0};
    };
    static nlohmann::ordered_json json(const Entry& entry);

    std::map<std::string, Area, std::less<>> areas_;
    std::vector<Entry> slowest_;  ///< the slowest first
    std::deque<Entry> errors_;    ///< the last first
};

}  // namespace host
