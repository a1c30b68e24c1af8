#include "webdav/dav/Privileges.h"

#include <initializer_list>
#include <string_view>

#include "webdav/dav/Namespaces.h"

namespace DAV {

namespace {

void add(PropertyRecord& property, std::string_view namespaceUri,
         std::initializer_list<std::string_view> names) {
    for (const std::string_view name : names)
        property.AddChild(kDav, "privilege").AddChild(namespaceUri, name);
}

bool mayRead(uint32_t mask) {
    return (mask & STORE_RIGHT_READ) != 0;
}

// Either right is shown as the whole set of writing privileges.
bool mayWrite(uint32_t mask) {
    return (mask & (STORE_RIGHT_WRITE | STORE_RIGHT_DELETE)) != 0;
}

}  // namespace

void AddCalendarPrivileges(PropertyRecord& property, uint32_t mask, CollectionRole role) {
    const bool outbox = role == CollectionRole::kOutbox;
    if (mayRead(mask)) {
        add(property, kDav, {"read"});
        if (!outbox) add(property, kCalDav, {"read-free-busy"});
    }
    add(property, kDav, {"read-current-user-privilege-set"});
    if (mayWrite(mask) && !outbox)
        add(property, kDav, {"write", "write-properties", "write-content", "bind", "unbind"});
    if (role == CollectionRole::kInbox)
        add(property, kCalDav,
            {"schedule-deliver-reply", "schedule-deliver-invite", "schedule-send"});
    if (outbox) add(property, kCalDav, {"schedule-query-freebusy"});
}

void AddPlainPrivileges(PropertyRecord& property, uint32_t mask) {
    if (mayRead(mask)) add(property, kDav, {"read"});
    add(property, kDav, {"read-current-user-privilege-set"});
    if (mayWrite(mask))
        add(property, kDav,
            {"write", "write-content", "write-properties", "bind", "unbind", "schedule-deliver",
             "schedule-deliver-invite", "schedule-send"});
}

}  // namespace DAV
