// What the store itself reads in the settings files. Read afresh at each call; safe from every
// thread.
#pragma once

#include <string_view>

#include "groupware/engine/Engine.h"

namespace groupware {

/// Yes, True or 1, and No, False or 0, told by the first character; all else is the other value.
bool readTruth(std::string_view file, std::string_view section, std::string_view key,
               bool otherwise);

/// The key of the switch for public folders.
inline constexpr std::string_view kEnablePublicFolders = "EnablePublicFolders";

bool sharedFoldersEnabled(const DataPaths& paths);
bool publicFoldersEnabled(const DataPaths& paths);
/// How much memory folder contents may take up: [Store] CacheMegabytes, 256 when it tells none.
size_t mostSnapshotBytes(const DataPaths& paths);
/// False when the settings file cannot be written.
bool enablePublicFolders(const DataPaths& paths);

}  // namespace groupware
