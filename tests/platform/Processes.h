// Child processes for tests of what holds between processes.
#pragma once

#include <functional>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

/// Runs the body in a child process, which ends with 0 when it returns true.
inline pid_t startProcess(const std::function<bool()>& body) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(body() ? 0 : 1);
    return child;
}

inline bool endedWell(pid_t child) {
    int status = -1;
    return ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Two children at once, "a" and "b"; whether both ended well.
inline bool twoAtOnce(const std::function<bool(const std::string&)>& body) {
    const pid_t first = startProcess([&] { return body("a"); });
    const pid_t second = startProcess([&] { return body("b"); });
    const bool well = endedWell(first);
    return endedWell(second) && well;
}
