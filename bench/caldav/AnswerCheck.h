// What an answer must look like to count: a figure for a wrong answer is worth nothing. Checks
// count elements by their local names, since each server has prefixes of its own.
//
// Pure, for any thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "bench/caldav/HttpClient.h"

namespace bench {

struct Expectation {
    int status = 207;                   ///< any of the same hundred will do for changes
    std::optional<size_t> responses{};  ///< exactly so many
    size_t atLeast = 0;                 ///< or at least so many
    std::string filled{};               ///< an element that as many times is there and not empty
    size_t fillings = 0;
    std::string text{};   ///< the whole body
    std::string holds{};  ///< or a part of it
};

/// What is wrong with an answer; empty when it is right.
std::string problemOf(const HttpAnswer& answer, const Expectation& expected);

}  // namespace bench
