// Remembers the database's answers to small questions for as long as the database stays as it is.
//
// Whatever changes, all answers are forgotten: a store at rest is asked by polling clients many
// times over, and a busy one answers as quickly as SQLite does. Safe from every thread.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <unordered_map>

#include "groupware/db/SqliteChangeWatch.h"

namespace groupware {

class AnswerCache {
  public:
    explicit AnswerCache(std::string_view path) : watch_(path) {}

    /// The answer to the question, found as told when it is not known; shared with whoever asks the
    /// same. Questions of the same text have answers of the same type.
    template <typename Find>
    auto answer(const std::string& question, Find find) {
        using Answer = const decltype(find());
        // Asked first: what changes while the answer is found makes it void for the next one.
        const auto state = watch_.state();
        if (!state) return std::make_shared<Answer>(find());
        {
            const std::shared_lock lock(mutex_);
            const auto known = answers_.find(question);
            if (state == state_ && known != answers_.end()) {
                return std::static_pointer_cast<Answer>(known->second);
            }
        }
        const auto found = std::make_shared<Answer>(find());
        const std::unique_lock lock(mutex_);
        if (state != state_ || answers_.size() >= kMostAnswers) answers_.clear();
        state_ = state;
        answers_[question] = found;
        return found;
    }

  private:
    static constexpr size_t kMostAnswers = 10'000;

    SqliteChangeWatch watch_;
    std::shared_mutex mutex_;
    std::optional<SqliteChangeWatch::State> state_;
    std::unordered_map<std::string, std::shared_ptr<const void>> answers_;
};

}  // namespace groupware
