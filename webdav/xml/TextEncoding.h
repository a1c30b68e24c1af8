// The bytes of a markup file as UTF-8 text, and back. MarkupDocument loads and saves with it. What
// is found and done is told as results, one for each step; nothing else fails.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "webdav/xml/MarkupResults.h"

namespace webdav {

/// How a file is written.
struct SaveOptions {
    std::string encoding;  ///< a charset name or "ANSI"; empty for what the text declares, or UTF-8
    bool mark = false;     ///< begins a file in UTF-8 or UTF-16 with a byte-order mark
    bool append = false;   ///< behind what the file holds
};

/// The text of a file: by its mark; else as UTF-8, where it is that; else in the charset that it
/// declares; else in the system code page.
std::string decodeText(std::string bytes, MarkupResults& results);

/// The bytes of a text in the encoding that the options name; nothing when there is no such.
std::optional<std::string> encodeText(std::string_view text, const SaveOptions& options,
                                      MarkupResults& results);

}  // namespace webdav
