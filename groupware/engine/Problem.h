// What an administrator is told when something cannot be done, and the phrases that recur in it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace groupware {

/// Empty when all went well, else one line saying what was wanted, what came instead, what to do.
using Problem = std::optional<std::string>;

inline std::string quoted(std::string_view text) {
    std::string result = "\"";
    return result.append(text).append("\"");
}

inline std::string noAccount(std::string_view address) {
    return "there is no account " + std::string(address) +
           "; \"cvadmin user list\" shows the accounts";
}

}  // namespace groupware
