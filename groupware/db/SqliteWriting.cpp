#include "groupware/db/SqliteWriting.h"

#include <chrono>
#include <new>

#include "groupware/db/ProcessLock.h"

namespace groupware {

namespace {

constexpr std::chrono::milliseconds kLongestWait{15'000};
/// Other processes wait meanwhile.
constexpr size_t kMostMembers = 32;

std::string lockPathOf(std::string_view path) {
    constexpr std::string_view kExtension = ".db";
    if (path.ends_with(kExtension)) path.remove_suffix(kExtension.size());
    return std::string(path) + ".lock";
}

}  // namespace

SqliteWriting::SqliteWriting(std::string_view path, Clock clock)
    : lockPath_(lockPathOf(path)), clock_(std::move(clock)), connection_(path) {
    connection_.execute("PRAGMA synchronous=FULL; PRAGMA foreign_keys=1");
}

void SqliteWriting::enter(bool alone) {
    if (!queue_.enter(kLongestWait)) {
        throw DatabaseError("the database stayed locked by other changes too long", true);
    }
    try {
        if (batch_ && alone) finish();
        if (!batch_) return open();
        connection_.statement("SAVEPOINT change").run();
    } catch (...) {
        leave();
        throw;
    }
}

void SqliteWriting::open() {
    auto lock = lockBetweenProcesses(lockPath_);
    connection_.statement("BEGIN IMMEDIATE").run();
    lock_ = std::move(lock);
    batch_ = std::make_shared<CommitBatch>();
    items_.emplace();
    before_ = answers_ ? answers_->state() : std::nullopt;
}

void SqliteWriting::commit(const std::optional<FolderStamps>& items) {
    try {
        note(items);
        if (batch_->members > 0) connection_.statement("RELEASE change").run();
    } catch (...) {
        items_.reset();  // may tell of this change, which is none
        giveUp();
        throw;
    }
    ++batch_->members;
    const std::shared_ptr<CommitBatch> batch = batch_;
    if (batch->members == kMostMembers || !queue_.leaveToNext()) {
        finish();
        queue_.leave();
    }
    batch->wait();
}

void SqliteWriting::giveUp() noexcept {
    if (batch_->members == 0) return leave();
    try {
        connection_.statement("ROLLBACK TO change").run();
        connection_.statement("RELEASE change").run();
    } catch (const DatabaseError& error) {
        // What failed has ended the whole transaction, and with it what others had done in it.
        close(error);
    }
    leave();
}

void SqliteWriting::note(const std::optional<FolderStamps>& items) {
    if (!items) items_.reset();
    if (!items_) return;
    for (const auto& [folder, stamp] : *items) items_->insert_or_assign(folder, stamp);
}

/// What is remembered need not be asked again when it is known what has changed. Without memory for
/// that it is forgotten.
void SqliteWriting::tellAnswers() noexcept try {
    if (!answers_ || !items_) return;
    answers_->follow(before_, [&](AnswerCache::Answers& answers) {
        for (const auto& [folder, stamp] : *items_) {
            const auto known = answers.find(foldersQuestion(folder.account));
            if (known == answers.end()) continue;
            auto folders = std::make_shared<AccountFolders>(
                *std::static_pointer_cast<const AccountFolders>(known->second));
            folders->setStamp(folder, stamp);
            known->second = std::move(folders);
        }
    });
} catch (const std::bad_alloc&) {
}

/// Ends the turn of one who adds nothing to the open transaction.
void SqliteWriting::leave() noexcept {
    if (batch_ && batch_->members > 0 && queue_.leaveToNext()) return;
    finish();
    queue_.leave();
}

void SqliteWriting::finish() noexcept {
    if (!batch_) return;
    try {
        // To commit what was given up would cost a sync for nothing.
        connection_.statement(batch_->members > 0 ? "COMMIT" : "ROLLBACK").run();
        if (batch_->members > 0) tellAnswers();
        close(std::nullopt);
    } catch (const DatabaseError& error) {
        close(error);
    }
}

void SqliteWriting::close(std::optional<DatabaseError> failure) noexcept {
    if (!batch_) return;
    if (failure) {
        // Some errors have rolled back already, which comes to the same.
        try {
            connection_.statement("ROLLBACK").run();
        } catch (const DatabaseError&) {
        }
    }
    lock_.reset();
    batch_->finish(std::move(failure));
    batch_.reset();
}

}  // namespace groupware
