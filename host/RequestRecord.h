// What became of a request: told once, when its answer is out or there is no one left to take it.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "host/Request.h"

namespace host {

struct RequestRecord {
    const Request& request;
    std::string login;    ///< that was tried; empty when there was none
    unsigned status = 0;  ///< 0: there was no answer
    uint64_t bodyBytes = 0;
    uint64_t sentBytes = 0;
    /// From when all of the request was there until the answer was.
    std::chrono::microseconds took{0};
};

inline double secondsOf(std::chrono::microseconds time) {
    return std::chrono::duration<double>(time).count();
}

}  // namespace host
