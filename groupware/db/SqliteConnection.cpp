#include "groupware/db/SqliteConnection.h"

#include <sqlite3.h>

#include "groupware/db/Database.h"
#include "platform/Files.h"

namespace groupware {

namespace {

// The write lock is queued for elsewhere; this is for the moments in which SQLite itself recovers
// or closes its log.
constexpr int kBusyTimeoutMs = 10'000;

const char* adviceFor(int primaryResult) {
    switch (primaryResult) {
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
            return "; put the data directory aside and restore a backup";
        case SQLITE_READONLY:
        case SQLITE_CANTOPEN:
            return "; this takes the user to whom the data directory belongs";
        default:
            return "";
    }
}

/// SQLite takes a null pointer for the value NULL, which no column of ours is.
const char* dataOf(std::string_view text) {
    return text.data() ? text.data() : "";
}

}  // namespace

void raiseSqliteError(sqlite3* database, int result) {
    const int primary = result & 0xFF;
    const bool busy = primary == SQLITE_BUSY || primary == SQLITE_LOCKED;
    const char* text = database ? sqlite3_errmsg(database) : sqlite3_errstr(result);
    throw DatabaseError(std::string("database: ") + text + adviceFor(primary), busy);
}

SqliteStatement::~SqliteStatement() {
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
}

bool SqliteStatement::step() {
    const int result = sqlite3_step(statement_);
    if (result == SQLITE_ROW) return true;
    if (result == SQLITE_DONE) return false;
    raiseSqliteError(database_, result);
}

int64_t SqliteStatement::integer(int column) const {
    return sqlite3_column_int64(statement_, column);
}

std::string SqliteStatement::text(int column) const {
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
    const int size = sqlite3_column_bytes(statement_, column);
    return bytes ? std::string(bytes, static_cast<size_t>(size)) : std::string();
}

bool SqliteStatement::isNull(int column) const {
    return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

void SqliteStatement::bindAt(int index, int64_t value) {
    check(sqlite3_bind_int64(statement_, index, value));
}

void SqliteStatement::bindAt(int index, std::string_view text) {
    check(sqlite3_bind_text64(statement_, index, dataOf(text), text.size(), SQLITE_TRANSIENT,
                              SQLITE_UTF8));
}

void SqliteStatement::bindAt(int index, Bytes bytes) {
    check(sqlite3_bind_blob64(statement_, index, dataOf(bytes.bytes), bytes.bytes.size(),
                              SQLITE_STATIC));
}

void SqliteStatement::check(int result) const {
    if (result != SQLITE_OK) raiseSqliteError(database_, result);
}

void SqliteConnection::Close::operator()(sqlite3* database) const {
    sqlite3_close_v2(database);
}

void SqliteConnection::Finalize::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

SqliteConnection::SqliteConnection(std::string_view path) {
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(platform::nativePath(path).c_str(), &opened,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    database_.reset(opened);
    if (result != SQLITE_OK) raiseSqliteError(opened, result);
    sqlite3_extended_result_codes(opened, 1);
    sqlite3_busy_timeout(opened, kBusyTimeoutMs);
}

SqliteStatement SqliteConnection::statement(const char* sql) {
    auto& prepared = statements_[sql];
    if (!prepared) {
        sqlite3_stmt* made = nullptr;
        const int result =
            sqlite3_prepare_v3(database_.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &made, nullptr);
        if (result != SQLITE_OK) raiseSqliteError(database_.get(), result);
        prepared.reset(made);
    }
    return {database_.get(), prepared.get()};
}

void SqliteConnection::execute(const char* sql) {
    const int result = sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr);
    if (result != SQLITE_OK) raiseSqliteError(database_.get(), result);
}

SqliteReading::SqliteReading(SqliteConnection& connection) : connection_(connection) {
    connection_.statement("BEGIN").run();
}

SqliteReading::~SqliteReading() {
    // A failed read has ended it already, which comes to the same.
    try {
        connection_.statement("ROLLBACK").run();
    } catch (const DatabaseError&) {
    }
}

}  // namespace groupware
