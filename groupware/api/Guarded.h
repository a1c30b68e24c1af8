// How an operation of the store's C interface ends when something is raised inside it.
#pragma once

#include <utility>

namespace groupware {

/// The body's answer, or the other one when it raises anything: nothing may cross the C border.
template <typename Answer, typename Body>
Answer guarded(Answer otherwise, Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        return otherwise;
    }
}

template <typename Body>
void guarded(Body&& body) noexcept {
    try {
        std::forward<Body>(body)();
    } catch (...) {
        // An operation without an answer leaves its buffer as it has prepared it.
    }
}

}  // namespace groupware
