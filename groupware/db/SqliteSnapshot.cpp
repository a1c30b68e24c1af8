#include "groupware/db/SqliteSnapshot.h"

#include <sqlite3.h>

#include "platform/Files.h"

namespace groupware {

namespace {

struct FinishBackup {
    void operator()(sqlite3_backup* backup) const { sqlite3_backup_finish(backup); }
};

}  // namespace

SqliteSnapshot::SqliteSnapshot(std::string_view path) : source_(path) {
    // An open read keeps what it sees as it is; without it each change made by others meanwhile
    // would let the copy begin anew.
    source_.execute("PRAGMA query_only=1; BEGIN; SELECT count(*) FROM sqlite_master");
}

void SqliteSnapshot::copyTo(std::string_view path, const ProgressCall& progress) {
    constexpr int kPagesPerStep = 1024;
    if (!platform::replaceFile(path, "", 0600)) {
        throw DatabaseError("cannot make " + platform::nativePath(path), false);
    }
    SqliteConnection target(path);
    target.execute("PRAGMA synchronous=OFF");  // whoever needs it durable sees to that
    const std::unique_ptr<sqlite3_backup, FinishBackup> backup(
        sqlite3_backup_init(target.handle(), "main", source_.handle(), "main"));
    if (!backup) raiseSqliteError(target.handle(), sqlite3_errcode(target.handle()));
    for (int result = SQLITE_OK; result != SQLITE_DONE;) {
        result = sqlite3_backup_step(backup.get(), kPagesPerStep);
        if (result != SQLITE_OK && result != SQLITE_DONE) {
            raiseSqliteError(nullptr, result);
        }
        const auto total = static_cast<uint64_t>(sqlite3_backup_pagecount(backup.get()));
        const auto left = static_cast<uint64_t>(sqlite3_backup_remaining(backup.get()));
        if (progress) progress(total - left, total);
    }
    // A copy of damaged pages is no backup, and must not take the place of a good one.
    auto check = target.statement("PRAGMA quick_check(1)");
    if (check.step() && check.text(0) != "ok") {
        throw DatabaseError("the database is damaged: " + check.text(0), false);
    }
}

}  // namespace groupware
