// Hashes passwords and checks them against their hashes.
//
// A hash costs about 20 ms of processor and 19 MB on purpose, so at most two are computed at a
// time, and a password that was right is known again for five minutes by a keyed digest of it. The
// digest covers the stored hash: a new password makes it void by itself. Safe from every thread.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <semaphore>
#include <string>
#include <string_view>
#include <unordered_map>

#include "groupware/db/Database.h"

namespace groupware {

inline constexpr size_t kMostPasswordBytes = 1024;

class PasswordChecker {
  public:
    PasswordChecker();

    /// The text to store; raises std::bad_alloc when there is not the memory to compute it.
    std::string hash(std::string_view password);
    /// An account without a hash has no right password, and telling so takes as long.
    bool isRight(const AccountRow& account, std::string_view password);
    /// Takes the time of a wrong password, so that no refusal tells by its speed what it is for.
    void spendACheck() { hash(""); }

    struct Figures {
        uint64_t remembered = 0;
        uint64_t recognized = 0;
        uint64_t hashed = 0;
    };
    Figures figures();

  private:
    using Digest = std::array<unsigned char, 32>;
    using TimePoint = std::chrono::steady_clock::time_point;
    struct Success {
        Digest digest;
        TimePoint expires;
    };

    Digest digestOf(const AccountRow& account, std::string_view password) const;
    bool isKnown(int64_t account, const Digest& digest);
    void remember(int64_t account, const Digest& digest);

    Digest key_;
    std::counting_semaphore<> computing_;
    std::mutex mutex_;
    std::unordered_map<int64_t, Success> successes_;  // an account has one password
    std::atomic<uint64_t> recognized_{0};
    std::atomic<uint64_t> hashed_{0};
};

}  // namespace groupware
