#include "webdav/dav/Privileges.h"

#include "webdav/dav/Namespaces.h"

namespace DAV {

namespace {

constexpr FixedMarkup kRead = {kDav, "<D:privilege><D:read/></D:privilege>"};
constexpr FixedMarkup kReadFreeBusy = {kCalDav, "<D:privilege><C:read-free-busy/></D:privilege>"};
constexpr FixedMarkup kReadPrivileges = {
    kDav, "<D:privilege><D:read-current-user-privilege-set/></D:privilege>"};

constexpr FixedMarkup kWriteCalendar = {kDav,
                                        "<D:privilege><D:write/></D:privilege>"
                                        "<D:privilege><D:write-properties/></D:privilege>"
                                        "<D:privilege><D:write-content/></D:privilege>"
                                        "<D:privilege><D:bind/></D:privilege>"
                                        "<D:privilege><D:unbind/></D:privilege>"};

constexpr FixedMarkup kInboxPrivileges = {kCalDav,
                                          "<D:privilege><C:schedule-deliver-reply/></D:privilege>"
                                          "<D:privilege><C:schedule-deliver-invite/></D:privilege>"
                                          "<D:privilege><C:schedule-send/></D:privilege>"};

constexpr FixedMarkup kOutboxPrivileges = {
    kCalDav, "<D:privilege><C:schedule-query-freebusy/></D:privilege>"};

constexpr FixedMarkup kWritePlain = {kDav,
                                     "<D:privilege><D:write/></D:privilege>"
                                     "<D:privilege><D:write-content/></D:privilege>"
                                     "<D:privilege><D:write-properties/></D:privilege>"
                                     "<D:privilege><D:bind/></D:privilege>"
                                     "<D:privilege><D:unbind/></D:privilege>"
                                     "<D:privilege><D:schedule-deliver/></D:privilege>"
                                     "<D:privilege><D:schedule-deliver-invite/></D:privilege>"
                                     "<D:privilege><D:schedule-send/></D:privilege>"};

constexpr size_t kMostSets = 5;

bool mayRead(uint32_t mask) {
    return (mask & STORE_RIGHT_READ) != 0;
}

// Either right is shown as the whole set of writing privileges.
bool mayWrite(uint32_t mask) {
    return (mask & (STORE_RIGHT_WRITE | STORE_RIGHT_DELETE)) != 0;
}

}  // namespace

void AddCalendarPrivileges(PropertyRecord& property, uint32_t mask, CollectionRole role) {
    std::vector<FixedMarkup>& sets = property.markup;
    sets.reserve(kMostSets);
    const bool outbox = role == CollectionRole::kOutbox;
    if (mayRead(mask)) sets.push_back(kRead);
    if (mayRead(mask) && !outbox) sets.push_back(kReadFreeBusy);
    sets.push_back(kReadPrivileges);
    if (mayWrite(mask) && !outbox) sets.push_back(kWriteCalendar);
    if (role == CollectionRole::kInbox) sets.push_back(kInboxPrivileges);
    if (outbox) sets.push_back(kOutboxPrivileges);
}

void AddPlainPrivileges(PropertyRecord& property, uint32_t mask) {
    std::vector<FixedMarkup>& sets = property.markup;
    sets.reserve(kMostSets);
    if (mayRead(mask)) sets.push_back(kRead);
    sets.push_back(kReadPrivileges);
    if (mayWrite(mask)) sets.push_back(kWritePlain);
}

}  // namespace DAV
