#include "host/PenaltyBox.h"

#include <algorithm>
#include <iterator>

#include "host/Escape.h"
#include "host/Log.h"
#include "host/Network.h"

namespace host {
namespace {

using Seconds = PenaltyBox::Seconds;

struct Step {
    unsigned failures;  ///< from this number on
    Seconds pause;      ///< between one try and the next
};

constexpr Step kSteps[] = {
    {0, Seconds(0)},   {3, Seconds(1)},   {5, Seconds(2)},    {7, Seconds(4)},
    {10, Seconds(15)}, {20, Seconds(60)}, {40, Seconds(300)},
};

/// A try waits that long for its turn; it is refused if that is not enough.
constexpr Seconds kLongestWait{5};
constexpr std::chrono::minutes kForgetAfter{30};
/// Enough to keep the checking of passwords busy.
constexpr unsigned kMostUnderway = 8;
constexpr std::chrono::milliseconds kLookAgain{100};
constexpr unsigned kV4NetworkBits = 32;
constexpr unsigned kV6NetworkBits = 48;

Seconds pauseAfter(unsigned failures) {
    const auto beyond = std::ranges::upper_bound(kSteps, failures, {}, &Step::failures);
    return std::prev(beyond)->pause;
}

std::optional<Network> networkOf(const PenaltyBox::Suspect& suspect) {
    return Network::around(suspect.address, kV4NetworkBits, kV6NetworkBits);
}

}  // namespace

/// Empty where the suspect does not say.
struct PenaltyBox::Keys {
    explicit Keys(const Suspect& suspect) : login(suspect.login) {
        if (const auto around = networkOf(suspect)) network = around->key();
        pair = network + " " + login;
    }

    std::string network;
    std::string login;
    std::string pair;
};

PenaltyBox::Culprit* PenaltyBox::culprit(Culprits& culprits, const std::string& key, Time now) {
    if (key.empty()) return nullptr;
    Culprit* found = culprits.find(key);
    if (found == nullptr || now - found->last < kForgetAfter) return found;
    culprits.erase(key);
    return nullptr;
}

bool PenaltyBox::isCrowded(const Keys& keys) const {
    const auto isFull = [](const Underway& underway, const std::string& key) {
        const auto found = underway.find(key);
        return found != underway.end() && found->second >= kMostUnderway;
    };
    return isFull(networksUnderway_, keys.network) || isFull(loginsUnderway_, keys.login);
}

PenaltyBox::Verdict PenaltyBox::judge(const Suspect& suspect, Time now, Time::duration waited) {
    const Keys keys(suspect);
    const std::lock_guard lock(mutex_);
    if (const Pair* pair = pairs_.find(keys.pair); pair != nullptr && pair->hasLoggedIn) return {};
    Culprit* const culprits[] = {culprit(networks_, keys.network, now),
                                 culprit(logins_, keys.login, now)};
    Time turn = now;
    for (const Culprit* one : culprits) {
        if (one != nullptr) turn = std::max(turn, one->nextTry);
    }
    Verdict verdict;
    verdict.again = isCrowded(keys);
    verdict.wait = std::chrono::ceil<std::chrono::milliseconds>(turn - now);
    if (verdict.again) verdict.wait = std::max(verdict.wait, kLookAgain);
    if (waited + verdict.wait > kLongestWait) {
        verdict.refused = true;
        ++counts_.refused;
        return verdict;
    }
    if (verdict.again) return verdict;
    verdict.underway = true;
    if (!keys.network.empty()) ++networksUnderway_[keys.network];
    if (!keys.login.empty()) ++loginsUnderway_[keys.login];
    // Tries that come at once take their turns one after the other.
    for (Culprit* one : culprits) {
        if (one != nullptr) one->nextTry = turn + pauseAfter(one->failures);
    }
    if (waited + verdict.wait >= std::chrono::milliseconds(1)) ++counts_.delayed;
    return verdict;
}

void PenaltyBox::over(const Suspect& suspect) {
    const Keys keys(suspect);
    const std::lock_guard lock(mutex_);
    const auto endOne = [](Underway& underway, const std::string& key) {
        const auto found = underway.find(key);
        if (found != underway.end() && --found->second == 0) underway.erase(found);
    };
    endOne(networksUnderway_, keys.network);
    endOne(loginsUnderway_, keys.login);
}

void PenaltyBox::failed(const Suspect& suspect, Time now) {
    const Keys keys(suspect);
    const std::lock_guard lock(mutex_);
    ++counts_.failures;
    Pair& pair = pairs_.at(keys.pair);
    pair.hasLoggedIn = false;
    ++pair.failures;
    const auto network = networkOf(suspect);
    addFailure(networks_, keys.network,
               "client " + suspect.address + ", network " + (network ? network->text() : ""), now);
    addFailure(logins_, keys.login,
               "client " + suspect.address + ", login \"" + escaped(keys.login) + "\"", now);
}

void PenaltyBox::addFailure(Culprits& culprits, const std::string& key, const std::string& who,
                            Time now) {
    if (key.empty()) return;
    culprit(culprits, key, now);  // forgets what is long ago
    Culprit& one = culprits.at(key);
    const Seconds before = pauseAfter(one.failures);
    ++one.failures;
    one.last = now;
    const Seconds pause = pauseAfter(one.failures);
    one.nextTry = std::max(one.nextTry, now + pause);
    if (pause == before) return;
    logProblem("logins fail: " + who + ", failures " + std::to_string(one.failures) + ", pause " +
               std::to_string(pause.count()) + " s");
}

void PenaltyBox::succeeded(const Suspect& suspect, Time) {
    const Keys keys(suspect);
    if (keys.login.empty()) return;
    const std::lock_guard lock(mutex_);
    Pair& pair = pairs_.at(keys.pair);
    pair.hasLoggedIn = true;
    const unsigned failures = std::exchange(pair.failures, 0U);
    if (failures == 0) return;
    takeBack(networks_, keys.network, failures);
    takeBack(logins_, keys.login, failures);
}

void PenaltyBox::takeBack(Culprits& culprits, const std::string& key, unsigned failures) {
    Culprit* one = culprits.find(key);
    if (one == nullptr) return;
    if (one->failures <= failures) {
        culprits.erase(key);
        return;
    }
    one->failures -= failures;
    one->nextTry = one->last + pauseAfter(one->failures);
}

PenaltyBox::Counts PenaltyBox::counts() const {
    const std::lock_guard lock(mutex_);
    Counts counts = counts_;
    counts.networks = networks_.size();
    counts.logins = logins_.size();
    return counts;
}

}  // namespace host
