// One connection to an SQLite database and its statements, as thin as can be.
//
// Used inside groupware/db only, by one thread at a time. Whatever SQLite reports as an error is
// raised as DatabaseError.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

struct sqlite3;
struct sqlite3_stmt;

namespace groupware {

/// Bytes that stay where they are until the statement has run; other texts are copied when bound.
struct Bytes {
    std::string_view bytes;
};

/// A run of a prepared statement; ends, and gives up its bindings, when it goes out of scope.
class SqliteStatement {
  public:
    SqliteStatement(sqlite3* database, sqlite3_stmt* statement)
        : database_(database), statement_(statement) {}
    ~SqliteStatement();
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;

    /// Binds ?1, ?2 and so on.
    template <typename... Values>
    SqliteStatement& bind(const Values&... values) {
        int index = 0;
        (bindAt(++index, values), ...);
        return *this;
    }

    /// Goes to the next row; false when there is none.
    bool step();
    void run() {
        while (step()) {
        }
    }

    int64_t integer(int column) const;
    bool flag(int column) const { return integer(column) != 0; }
    std::string text(int column) const;
    bool isNull(int column) const;

  private:
    void bindAt(int index, int64_t value);
    void bindAt(int index, std::string_view text);
    void bindAt(int index, Bytes bytes);
    void check(int result) const;

    sqlite3* database_;
    sqlite3_stmt* statement_;
};

/// Raises what an SQLite call reported.
[[noreturn]] void raiseSqliteError(sqlite3* database, int result);

class SqliteConnection {
  public:
    /// The path is by the product's rule; the file must be there already.
    explicit SqliteConnection(std::string_view path);

    /// The SQL is a constant: it is prepared once and known by its address from then on. One run
    /// of it at a time.
    SqliteStatement statement(const char* sql);
    /// Runs one or several statements that have no result.
    void execute(const char* sql);
    /// For the calls of SQLite that are no statements.
    sqlite3* handle() const { return database_.get(); }

  private:
    struct Close {
        void operator()(sqlite3* database) const;
    };
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const;
    };

    std::unique_ptr<sqlite3, Close> database_;
    std::unordered_map<const char*, std::unique_ptr<sqlite3_stmt, Finalize>> statements_;
};

/// Several reads that see one and the same state of the database.
class SqliteReading {
  public:
    explicit SqliteReading(SqliteConnection& connection);
    ~SqliteReading();
    SqliteReading(const SqliteReading&) = delete;
    SqliteReading& operator=(const SqliteReading&) = delete;

  private:
    SqliteConnection& connection_;
};

}  // namespace groupware
