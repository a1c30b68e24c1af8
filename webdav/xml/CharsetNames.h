// The names that charsets have in declarations, with their code pages: those that Windows knows.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace webdav {

/// The code page of a charset's name, which is compared without regard to case.
std::optional<uint32_t> codePageOfCharset(std::string_view name);

}  // namespace webdav
