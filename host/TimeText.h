// Times as logs and listings show them.
#pragma once

#include <cstdint>
#include <string>

namespace host {

/// "2026-11-21T15:44:07.123Z"
std::string isoTime(int64_t utcMs);
/// "21/Nov/2026:16:44:07 +0100", by the machine's zone.
std::string commonLogTime(int64_t utcMs);

}  // namespace host
