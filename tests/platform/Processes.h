// Child processes for tests of what holds between processes.
#pragma once

#include <functional>

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
