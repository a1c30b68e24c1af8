// Tasks that came without an iCalendar UID get one, since their href is made of it.
#pragma once

#include "webdav/dav/ItemRows.h"

namespace DAV {

/// Gives a task without a UID a new one and stores it at once, so that later requests see the same
/// href. Does nothing for tasks that have one, and for the other kinds.
void GiveTaskUid(const ItemContext& context, StoreItem& item);

}  // namespace DAV
