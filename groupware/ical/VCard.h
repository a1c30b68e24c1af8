// What the store needs to know of a vCard, and its text in the version that a client reads.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace groupware {

struct VCard {
    std::string uid;
    std::string fullName;  ///< FN
    bool hasName = false;  ///< N
    std::string version;   ///< "3.0", "4.0" or what the text says

    /// The one vCard of a text; nothing, and why, when there is none or more than one.
    static std::optional<VCard> parse(std::string_view text, std::string& problem);
};

/// The text as version 3.0 or 4.0. A text of that version comes back byte for byte, and so does one
/// of neither; otherwise the lines that the versions write differently are changed and all others
/// kept.
std::string vCardAs(std::string_view text, std::string_view version);

}  // namespace groupware
