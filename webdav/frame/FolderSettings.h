// The settings that rule which folders may be reached, and where public ones are. Read anew at each
// call, so a change counts from the next request; safe from every thread.
#pragma once

#include <string>

#include "webdav/store/ItemKind.h"

namespace webdav {

bool SharedFoldersEnabled();
bool PublicFoldersEnabled();

/// The root of the public folders with a closing backslash; empty when none is set.
std::string PublicFoldersDirectory();

/// The name of the public folder that stands for a kind when a path names none.
std::string DefaultPublicFolderName(const ItemKind& kind);

}  // namespace webdav
