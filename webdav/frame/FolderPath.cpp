#include "webdav/frame/FolderPath.h"

#include <algorithm>
#include <string_view>

#include "abi/StoreTypes.h"
#include "platform/Files.h"
#include "webdav/base/Text.h"

namespace webdav {

namespace {

constexpr std::string_view kFolderExtension = ".IMAP";
constexpr size_t kLongestPath = STORE_PATH_SIZE - 1;

}  // namespace

FolderPath FindFolder(const std::string& base, std::span<const std::string> names) {
    FolderPath folder;
    bool possible = !base.empty();
    for (std::string_view name : names) {
        if (name.ends_with('/')) name.remove_suffix(1);
        possible = possible && platform::isPlainName(name);
        if (!folder.relative.empty()) folder.relative += '\\';
        folder.relative += EncodeModifiedUtf7(name);
        if (!EndsWithNoCase(folder.relative, kFolderExtension)) folder.relative += kFolderExtension;
    }
    folder.path = base + folder.relative;
    if (folder.path.ends_with('\\')) folder.path.pop_back();
    // A path that is cut would be that of another folder.
    possible = possible && folder.path.size() <= kLongestPath;
    folder.path.resize(std::min(folder.path.size(), kLongestPath));
    folder.exists = possible && platform::directoryExists(folder.path);
    return folder;
}

}  // namespace webdav
