#include "platform/User.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include "platform/posix/PathLookup.h"

namespace platform {

bool becomeOwnerOf(std::string_view path) {
    const FoundPath found = findPath(path);
    if (::geteuid() != 0 || !found.exists || found.status.st_uid == 0) return true;
    const passwd* const owner = ::getpwuid(found.status.st_uid);
    const gid_t group = owner != nullptr ? owner->pw_gid : found.status.st_gid;
    const int groups =
        owner != nullptr ? ::initgroups(owner->pw_name, group) : ::setgroups(0, nullptr);
    return groups == 0 && ::setgid(group) == 0 && ::setuid(found.status.st_uid) == 0;
}

}  // namespace platform
