// Tasks that came without an iCalendar UID get one, since their href is made of it.
#pragma once

#include "webdav/dav/ItemRows.h"

namespace DAV {

/// Gives a task a new UID and stores it at once, so that later requests see the same href.
void GiveNewTaskUid(const ItemContext& context, StoreItem& item);

/// The same for a task without one. Does nothing for others, and for the other kinds.
inline void GiveTaskUid(const ItemContext& context, StoreItem& item) {
    if (&context.kind != &webdav::kTaskKind) return;
    if (item.uid == nullptr || *item.uid == '\0') GiveNewTaskUid(context, item);
}

}  // namespace DAV
