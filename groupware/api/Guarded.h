// How an operation of the store's C interface ends when something is raised inside it: nothing may
// cross the C border, and why it failed stands on standard error.
#pragma once

#include <exception>
#include <utility>

#include "groupware/engine/FailureLog.h"

namespace groupware {

/// The body's answer, or the other one when it raises anything.
template <typename Answer, typename Body>
Answer guarded(Answer otherwise, Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (const std::exception& failure) {
        tellFailure(failure.what());
    } catch (...) {
        tellFailure("an unknown failure");
    }
    return otherwise;
}

/// An operation without an answer leaves its buffer as it has prepared it.
template <typename Body>
void guarded(Body&& body) noexcept {
    guarded(0, [&] {
        std::forward<Body>(body)();
        return 0;
    });
}

}  // namespace groupware
