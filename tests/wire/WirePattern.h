// Texts with {{...}} in them: what an answer must look like, and what a request takes from answers
// before it. README.md of this folder tells the forms.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace wire {

using Captures = std::map<std::string, std::string, std::less<>>;

/// The text with {{=name}}, {{hex:...}} and {{fill:...}} put in place; raises WireError for any
/// other form.
std::string substitute(std::string_view text, const Captures& captures);

/// Compares a text with a pattern, byte for byte but where the pattern says otherwise, and notes
/// what the pattern captures. Nothing when it matches, else the first difference for people.
std::optional<std::string> firstDifference(std::string_view pattern, std::string_view actual,
                                           Captures& captures);

}  // namespace wire
