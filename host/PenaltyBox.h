// Slows down those who guess passwords.
//
// Failed logins are counted for each network that they come from (IPv4 /32, IPv6 /48) and for each
// login name. The more there are, the longer the pause between one try and the next; a try that
// would have to wait long is refused instead. Who has logged in from a network before goes on
// there without a pause until a login of that name fails there. A success takes back what that
// login had failed from there, and no more, so that an account of one's own is no help in guessing
// those of others. Of those who have not logged in yet few are tried at once, so that guesses that
// come all together find the pauses as well, and are not in the way of others.
//
// Safe from every thread; the time is told by the caller. Memory is bounded: the oldest culprits
// are forgotten first. Each growth of a pause is logged once (docs/serving.md has the lines).
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>

#include "host/BoundedMap.h"

namespace host {

class PenaltyBox {
  public:
    using Time = std::chrono::steady_clock::time_point;
    using Seconds = std::chrono::seconds;

    /// Someone who tries to log in.
    struct Suspect {
        std::string address;  ///< of the client; empty when it is not known
        std::string login;    ///< empty when it is not known
    };

    struct Verdict {
        std::chrono::milliseconds wait{0};
        bool refused = false;   ///< the wait is too long to be waited out here
        bool again = false;     ///< to be judged once more after the wait
        bool underway = false;  ///< has its turn after the wait; "over" is to be told
    };
    /// What a try has to suffer that came so long ago.
    Verdict judge(const Suspect& suspect, Time now, Time::duration waited = {});
    /// The try is over, whatever came of it.
    void over(const Suspect& suspect);
    void failed(const Suspect& suspect, Time now);
    void succeeded(const Suspect& suspect, Time now);

    struct Counts {
        size_t networks = 0;  ///< with failures
        size_t logins = 0;    ///< with failures
        uint64_t failures = 0;
        uint64_t delayed = 0;
        uint64_t refused = 0;
    };
    Counts counts() const;

  private:
    struct Culprit {
        unsigned failures = 0;
        Time last;
        Time nextTry;
    };
    struct Pair {
        unsigned failures = 0;
        bool hasLoggedIn = false;
    };
    struct Keys;
    using Culprits = BoundedMap<Culprit>;
    /// Tries that have their turn; there are no more than connections.
    using Underway = std::unordered_map<std::string, unsigned>;

    Culprit* culprit(Culprits& culprits, const std::string& key, Time now);
    void addFailure(Culprits& culprits, const std::string& key, const std::string& who, Time now);
    static void takeBack(Culprits& culprits, const std::string& key, unsigned failures);
    bool isCrowded(const Keys& keys) const;

    mutable std::mutex mutex_;
    static constexpr size_t kCapacity = 10'000;
    Culprits networks_{kCapacity};
    Culprits logins_{kCapacity};
    BoundedMap<Pair> pairs_{kCapacity};
    Underway networksUnderway_;
    Underway loginsUnderway_;
    Counts counts_;
};

}  // namespace host
