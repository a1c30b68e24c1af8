#include <algorithm>
#include <filesystem>

#include "platform/Files.h"
#include "platform/posix/PathLookup.h"

namespace platform {

bool isPlainName(std::string_view name) {
    constexpr std::string_view kForbidden("\\/\0", 3);
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(kForbidden) == std::string_view::npos;
}

std::string nativePath(std::string_view path) {
    return findPath(path).native;
}

std::string fromNativePath(std::string_view native) {
    if (native.empty()) return {};
    std::string absolute(native);
    if (native.front() != '/') {
        std::error_code error;
        absolute = std::filesystem::current_path(error).native() + '/' + absolute;
    }
    std::string path;
    for (size_t start = 0; start < absolute.size();) {
        const size_t end = std::min(absolute.find('/', start), absolute.size());
        const std::string_view name = std::string_view(absolute).substr(start, end - start);
        // ".." stays: only the system knows where it leads when a name before it is a link.
        if (!name.empty() && name != ".") path.append("\\").append(name);
        start = end + 1;
    }
    return path.empty() ? "\\" : path;
}

}  // namespace platform
