// The privileges that a rights mask gives, as DAV:privilege elements (RFC 3744 section 5.4).
#pragma once

#include <cstdint>

#include "webdav/dav/CollectionTarget.h"
#include "webdav/dav/PropertyRecord.h"

namespace DAV {

/// Those of calendars, their home and their mailboxes.
void AddCalendarPrivileges(PropertyRecord& property, uint32_t mask, CollectionRole role);

/// Those of task lists and address books.
void AddPlainPrivileges(PropertyRecord& property, uint32_t mask);

}  // namespace DAV
