// The change stamp of a folder: what clients poll as ctag, and the entity tag of a collection.
//
// Safe from every thread.
#pragma once

#include <string>

#include "webdav/store/ItemKind.h"

namespace DAV {

/// The stamp that the folder's marker file names, else the file's time, else an empty text.
std::string ReadChangeStamp(const webdav::ItemKind& kind, const std::string& folderPath);

}  // namespace DAV
