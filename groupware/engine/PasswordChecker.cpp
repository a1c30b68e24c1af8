#include "groupware/engine/PasswordChecker.h"

#include <new>
#include <stdexcept>

#include <sodium.h>

namespace groupware {

namespace {

constexpr unsigned long long kOperations = 2;
constexpr size_t kMemoryBytes = size_t{19} * 1024 * 1024;
constexpr int kMostAtATime = 2;
constexpr size_t kMostSuccesses = 4096;
constexpr std::chrono::minutes kLifetime{5};

class Permit {
  public:
    explicit Permit(std::counting_semaphore<>& semaphore) : semaphore_(semaphore) {
        semaphore_.acquire();
    }
    ~Permit() { semaphore_.release(); }
    Permit(const Permit&) = delete;
    Permit& operator=(const Permit&) = delete;

  private:
    std::counting_semaphore<>& semaphore_;
};

void addPart(crypto_generichash_state& state, std::string_view part) {
    // The length first, so that no two lists of parts run together to the same bytes.
    const uint64_t size = part.size();
    crypto_generichash_update(&state, reinterpret_cast<const unsigned char*>(&size), sizeof size);
    crypto_generichash_update(&state, reinterpret_cast<const unsigned char*>(part.data()), size);
}

}  // namespace

PasswordChecker::PasswordChecker() : computing_(kMostAtATime) {
    if (sodium_init() < 0) throw std::runtime_error("the cryptographic library does not start");
    randombytes_buf(key_.data(), key_.size());
}

std::string PasswordChecker::hash(std::string_view password) {
    const Permit permit(computing_);
    ++hashed_;
    std::array<char, crypto_pwhash_STRBYTES> text{};
    if (crypto_pwhash_str_alg(text.data(), password.data(), password.size(), kOperations,
                              kMemoryBytes, crypto_pwhash_ALG_ARGON2ID13) != 0) {
        throw std::bad_alloc();
    }
    return text.data();
}

bool PasswordChecker::isRight(const AccountRow& account, std::string_view password) {
    if (account.passwordHash.empty() || password.size() > kMostPasswordBytes) {
        spendACheck();
        return false;
    }
    const Digest digest = digestOf(account, password);
    if (isKnown(account.id, digest)) {
        ++recognized_;
        return true;
    }
    {
        const Permit permit(computing_);
        ++hashed_;
        if (crypto_pwhash_str_verify(account.passwordHash.c_str(), password.data(),
                                     password.size()) != 0) {
            return false;
        }
    }
    remember(account.id, digest);
    return true;
}

PasswordChecker::Figures PasswordChecker::figures() {
    const std::lock_guard lock(mutex_);
    return {successes_.size(), recognized_, hashed_};
}

PasswordChecker::Digest PasswordChecker::digestOf(const AccountRow& account,
                                                  std::string_view password) const {
    crypto_generichash_state state;
    crypto_generichash_init(&state, key_.data(), key_.size(), Digest{}.size());
    addPart(state, std::to_string(account.id));
    addPart(state, account.passwordHash);
    addPart(state, password);
    Digest digest{};
    crypto_generichash_final(&state, digest.data(), digest.size());
    sodium_memzero(&state, sizeof state);
    return digest;
}

bool PasswordChecker::isKnown(int64_t account, const Digest& digest) {
    std::lock_guard lock(mutex_);
    const auto found = successes_.find(account);
    return found != successes_.end() && std::chrono::steady_clock::now() < found->second.expires &&
           sodium_memcmp(found->second.digest.data(), digest.data(), digest.size()) == 0;
}

void PasswordChecker::remember(int64_t account, const Digest& digest) {
    std::lock_guard lock(mutex_);
    if (successes_.size() >= kMostSuccesses && !successes_.contains(account)) successes_.clear();
    successes_.insert_or_assign(account,
                                Success{digest, std::chrono::steady_clock::now() + kLifetime});
}

}  // namespace groupware
