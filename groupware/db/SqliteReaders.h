// The connections that reading threads take turns in using. Safe from every thread.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "groupware/db/SqliteConnection.h"

namespace groupware {

class SqliteReaders {
  public:
    explicit SqliteReaders(std::string_view path) : path_(path) {}

    /// A connection for one read; goes back when dropped.
    class Lease {
      public:
        Lease(SqliteReaders& readers, std::unique_ptr<SqliteConnection> connection)
            : readers_(readers), connection_(std::move(connection)) {}
        ~Lease() { readers_.giveBack(std::move(connection_)); }
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;

        SqliteConnection* operator->() const { return connection_.get(); }
        SqliteConnection& operator*() const { return *connection_; }

      private:
        SqliteReaders& readers_;
        std::unique_ptr<SqliteConnection> connection_;
    };

    /// Never waits: a new connection is opened when all are in use.
    Lease take();

  private:
    void giveBack(std::unique_ptr<SqliteConnection> connection);

    std::string path_;
    std::mutex mutex_;
    std::vector<std::unique_ptr<SqliteConnection>> idle_;
};

}  // namespace groupware
