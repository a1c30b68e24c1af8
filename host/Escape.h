// Bytes that came from a client, made fit for a line of a log: printable ASCII stays, all else and
// quotes and backslashes become \xHH.
#pragma once

#include <string>
#include <string_view>

namespace host {

/// Texts beyond the bound are cut, which three dots show.
std::string escaped(std::string_view text, size_t longest = 1024);

}  // namespace host
