// Remembers the database's answers to small questions for as long as the database stays as it is.
//
// Whatever changes, all answers are forgotten, unless the writer of this process tells what its
// change has left as it was. Safe from every thread.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <utility>

#include "groupware/db/SqliteChangeWatch.h"

namespace groupware {

class AnswerCache {
  public:
    using State = SqliteChangeWatch::State;
    using Answers = std::unordered_map<std::string, std::shared_ptr<const void>>;

    explicit AnswerCache(std::string_view path) : watch_(path) {}

    /// The answer to the question, found as told when it is not known; shared with whoever asks the
    /// same. Questions of the same text have answers of the same type.
    template <typename Find>
    auto answer(const std::string& question, Find find) {
        return answerIn(answers_, question, std::move(find));
    }
    /// The same for an answer that changes of items leave as it is, or that whoever makes them
    /// amends.
    template <typename Find>
    auto lasting(const std::string& question, Find find) {
        return answerIn(lasting_, question, std::move(find));
    }

    std::optional<State> state() const { return watch_.state(); }

    /// After a commit of items alone the lasting answers hold on, amended as told. For whoever held
    /// the database from the state before on: should another have committed since, all is forgotten
    /// as ever.
    template <typename Amend>
    void follow(const std::optional<State>& before, Amend amend) {
        const std::unique_lock lock(mutex_);
        const auto after = watch_.state();
        if (!before || !after || state_ != before || !SqliteChangeWatch::isNext(*before, *after))
            return;
        answers_.clear();
        amend(lasting_);
        state_ = after;
    }

  private:
    static constexpr size_t kMostAnswers = 10'000;

    template <typename Find>
    auto answerIn(Answers& answers, const std::string& question, Find find) {
        using Answer = const decltype(find());
        // Asked first: what changes while the answer is found makes it void for the next one.
        const auto state = watch_.state();
        if (!state) return std::make_shared<Answer>(find());
        {
            const std::shared_lock lock(mutex_);
            const auto known = answers.find(question);
            if (state == state_ && known != answers.end()) {
                return std::static_pointer_cast<Answer>(known->second);
            }
        }
        const auto found = std::make_shared<Answer>(find());
        const std::unique_lock lock(mutex_);
        if (state != state_) {
            // What is known of a newer state is worth more.
            if (state != watch_.state()) return found;
            answers_.clear();
            lasting_.clear();
        }
        if (answers.size() >= kMostAnswers) answers.clear();
        state_ = state;
        answers[question] = found;
        return found;
    }

    SqliteChangeWatch watch_;
    std::shared_mutex mutex_;
    std::optional<State> state_;
    Answers answers_;
    Answers lasting_;
};

}  // namespace groupware
