// The embedded database as it was at one moment, to be copied while others write.
#pragma once

#include "groupware/db/Database.h"
#include "groupware/db/SqliteConnection.h"

namespace groupware {

class SqliteSnapshot : public DatabaseSnapshot {
  public:
    explicit SqliteSnapshot(std::string_view path);

    void copyTo(std::string_view path, const ProgressCall& progress) override;

  private:
    SqliteConnection source_;
};

}  // namespace groupware
