// The characters that HTML 4 and XML have names for. Used where references are decoded; nothing
// else is ever decoded, whatever a document type declares.
#pragma once

#include <optional>
#include <string_view>

namespace webdav {

/// The character of a name as it stands between "&" and ";".
std::optional<char32_t> entityCharacter(std::string_view name);

}  // namespace webdav
