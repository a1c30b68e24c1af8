// What must hold in the embedded database beyond what its tables enforce, as a table of questions
// and their remedies.
#pragma once

#include <vector>

#include "groupware/db/Database.h"
#include "groupware/db/SqliteConnection.h"

namespace groupware {

std::vector<DatabaseFault> faultsIn(SqliteConnection& connection);
/// Within a transaction of the connection.
void mendFaultsIn(SqliteConnection& connection);

}  // namespace groupware
