#include "platform/Process.h"

#include <array>
#include <cerrno>

#include <grp.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/Error.h"

namespace platform {

namespace {

std::string lastProblem() {
    return describeError(static_cast<uint32_t>(errno));
}

}  // namespace

size_t raiseOpenFileLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return 0;
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = limit.rlim_max;
    return static_cast<size_t>(setrlimit(RLIMIT_NOFILE, &limit) == 0 ? limit.rlim_cur : before);
}

void setFileCreationMask(unsigned mask) {
    umask(static_cast<mode_t>(mask));
}

std::optional<std::string> becomeUser(const std::string& name) {
    std::array<char, 16 * 1024> buffer{};
    passwd entry{};
    passwd* found = nullptr;
    errno = getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found);
    if (found == nullptr) return errno == 0 ? "there is no such user" : lastProblem();
    if (geteuid() == entry.pw_uid && getuid() == entry.pw_uid) return std::nullopt;
    if (initgroups(entry.pw_name, entry.pw_gid) != 0 || setgid(entry.pw_gid) != 0 ||
        setuid(entry.pw_uid) != 0) {
        return lastProblem();
    }
    if (entry.pw_uid != 0 && setuid(0) == 0) return "the way back to root stayed open";
    return std::nullopt;
}

}  // namespace platform
