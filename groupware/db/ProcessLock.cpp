#include "groupware/db/ProcessLock.h"

#include "groupware/db/Database.h"
#include "groupware/engine/FailureLog.h"
#include "platform/Error.h"

namespace groupware {

std::unique_ptr<platform::FileLock> lockBetweenProcesses(std::string_view path) {
    constexpr std::chrono::seconds kSilent{3};
    constexpr std::chrono::seconds kRest{12};
    auto lock = platform::FileLock::acquire(path, kSilent);
    if (!lock && platform::isTimeout(platform::lastError())) {
        tellFailure("waiting for another process that holds " + platform::nativePath(path));
        lock = platform::FileLock::acquire(path, kRest);
    }
    if (lock) return lock;
    const bool busy = platform::isTimeout(platform::lastError());
    throw DatabaseError(
        busy ? "another process has held " + platform::nativePath(path) + " for fifteen seconds"
             : "cannot lock " + platform::nativePath(path) + ": " +
                   platform::describeError(platform::lastError()),
        busy);
}

}  // namespace groupware
