// Folder names in modified UTF-7 (RFC 3501, 5.1.3), as they stand in IMAP and on disk.
//
// Pure functions, linear in their input.
#pragma once

#include <string>
#include <string_view>

namespace groupware {

std::string encodeModifiedUtf7(std::string_view utf8);

/// A text that is no modified UTF-7, or would be spelt otherwise by the encoder, comes back as it
/// is.
std::string decodeModifiedUtf7(std::string_view text);

}  // namespace groupware
