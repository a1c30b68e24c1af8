// The directory of a folder that a request's path names.
//
// The names come from a client: one that cannot be a folder's makes a folder that does not exist,
// and the disk is not even asked. Safe from every thread.
#pragma once

#include <span>
#include <string>

namespace webdav {

struct FolderPath {
    std::string relative;  ///< in the store's form: Work.IMAP\Sub.IMAP
    std::string path;      ///< at most 259 bytes, without a closing backslash
    bool exists = false;
};

/// Base: the directory that the names count from, with its closing backslash.
FolderPath FindFolder(const std::string& base, std::span<const std::string> names);

}  // namespace webdav
