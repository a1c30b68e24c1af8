// Numbers for monitoring, in the text form that Prometheus reads.
//
// Guarded by who has it (RequestWatch). What a client sends never becomes a name here, so their
// number is bounded.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "abi/CVUser.h"
#include "host/PenaltyBox.h"
#include "host/RequestRecord.h"

namespace host {

/// What is so at this moment.
struct LiveNumbers {
    int64_t upSinceMs = 0;  ///< UTC
    size_t connections = 0;
    size_t queued = 0;   ///< requests that wait for a worker
    size_t running = 0;  ///< requests in the extension
    size_t heldBytes = 0;
    size_t unsentMails = 0;
    PenaltyBox::Counts penalties;
    std::optional<StoreFigures> store;  ///< of a store that tells them
};

class Metrics {
  public:
    void count(const RequestRecord& record);
    std::string text(const LiveNumbers& now) const;

    uint64_t requests() const { return requests_; }
    uint64_t receivedBytes() const { return receivedBytes_; }
    uint64_t sentBytes() const { return sentBytes_; }
    /// The number of answers whose status begins with that digit; 0: those there were none for.
    uint64_t answersOfClass(unsigned digit) const;

  private:
    static constexpr size_t kBuckets = 12;

    std::map<std::pair<std::string_view, unsigned>, uint64_t> answers_;  ///< by method and status
    std::array<uint64_t, kBuckets + 1> tookAtMost_{};
    uint64_t requests_ = 0;
    uint64_t receivedBytes_ = 0;
    uint64_t sentBytes_ = 0;
    std::chrono::microseconds took_{0};
};

}  // namespace host
