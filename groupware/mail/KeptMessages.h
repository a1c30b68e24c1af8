// How long the store keeps message files that nobody takes: 90 days.
//
// Called when a further message comes into the directory, so that none grows for ever.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace groupware {

/// When a message file of the store was made, as its name tells; nothing for files of others.
std::optional<int64_t> madeAt(std::string_view fileName);

/// Removes the store's messages in that directory that are too old.
void removeOldMessages(const std::string& directory, int64_t nowMs);

}  // namespace groupware
