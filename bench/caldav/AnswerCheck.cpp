#include "bench/caldav/AnswerCheck.h"

#include <string_view>

namespace bench {
namespace {

/// Counts end tags of a local name whose element holds something: the end of an empty one follows
/// its start tag at once.
size_t countElements(std::string_view body, std::string_view name, bool filled) {
    size_t count = 0;
    for (size_t at = body.find("</"); at != std::string_view::npos; at = body.find("</", at + 2)) {
        std::string_view tag = body.substr(at + 2, body.find('>', at) - at - 2);
        if (const size_t colon = tag.find(':'); colon != std::string_view::npos) {
            tag.remove_prefix(colon + 1);
        }
        if (tag != name || (filled && at > 0 && body[at - 1] == '>')) continue;
        ++count;
    }
    return count;
}

std::string mismatch(const char* what, size_t expected, size_t found) {
    return std::to_string(found) + " " + what + " instead of " + std::to_string(expected);
}

}  // namespace

std::string problemOf(const HttpAnswer& answer, const Expectation& expected) {
    if (!answer.problem.empty()) return answer.problem;
    const bool change = expected.status < 207;
    if (change ? answer.status / 100 != expected.status / 100 : answer.status != expected.status) {
        return "status " + std::to_string(answer.status);
    }
    if (expected.responses || expected.atLeast > 0) {
        const size_t found = countElements(answer.body, "response", false);
        if (expected.responses && found != *expected.responses) {
            return mismatch("responses", *expected.responses, found);
        }
        if (found < expected.atLeast) return mismatch("responses", expected.atLeast, found);
    }
    if (!expected.filled.empty()) {
        const size_t found = countElements(answer.body, expected.filled, true);
        if (found < expected.fillings) {
            return mismatch(expected.filled.c_str(), expected.fillings, found);
        }
    }
    if (!expected.text.empty() && answer.body != expected.text) return "another text";
    if (answer.body.find(expected.holds) == std::string::npos) return "another item";
    return {};
}

}  // namespace bench
