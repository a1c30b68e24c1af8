// How a path of the product is found in the file system; used inside the POSIX side only.
//
// A path that exists as spelt costs one stat call. Else the longest part that exists as spelt is
// kept and each name below it looked for in its directory's listing.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <dirent.h>
#include <sys/stat.h>

namespace platform {

struct CloseDirectory {
    void operator()(DIR* directory) const { ::closedir(directory); }
};
using DirectoryStream = std::unique_ptr<DIR, CloseDirectory>;

struct FoundPath {
    std::string native;     ///< empty for a text that can name nothing
    bool exists = false;    ///< when false, errno tells why
    struct stat status {};  ///< of what the path leads to, when it exists
};

/// The path with the system's dividers, whether or not anything of that name exists; empty for a
/// text that can name nothing.
std::string nativeSpelling(std::string_view path);

/// Names of which nothing exists stay as spelt, below what was found.
FoundPath findPath(std::string_view path);

/// The directory part of a native path: "." for a lone name, "/" for a name in the root.
std::string nativeParent(const std::string& native);

}  // namespace platform
