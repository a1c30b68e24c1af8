// The tables of the embedded database and the steps from one version of them to the next.
#pragma once

#include "groupware/db/SqliteConnection.h"

namespace groupware {

/// Raises DatabaseError for a database that a newer program has made.
bool hasNewestSchema(SqliteConnection& connection);

/// Brings the tables to the newest version, in one transaction; makes them in an empty database
/// when create is set, and raises DatabaseError for one otherwise. The caller keeps other writers
/// out.
void upgradeSchema(SqliteConnection& connection, bool create);

}  // namespace groupware
