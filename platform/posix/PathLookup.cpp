#include "platform/posix/PathLookup.h"

#include <algorithm>
#include <cerrno>

#include "platform/posix/AsciiCase.h"

namespace platform {
namespace {

/// The entry of a directory that a name means: the one spelt so, else the first in byte order that
/// differs in case alone. Empty when there is none.
std::string entryNamed(const std::string& directory, std::string_view name) {
    const DirectoryStream entries(::opendir(directory.c_str()));
    if (!entries) return {};
    std::string found;
    while (const dirent* entry = ::readdir(entries.get())) {
        const std::string_view candidate = entry->d_name;
        if (!equalIgnoringCase(candidate, name)) continue;
        if (candidate == name) return std::string(name);
        if (found.empty() || candidate < found) found = candidate;
    }
    return found;
}

bool exists(const std::string& native) {
    struct stat status {};
    return ::stat(native.c_str(), &status) == 0;
}

/// The length of the longest leading part, ending before a "/", that exists as spelt; 0 when not
/// even the first name does. The first name of a full path is the root itself.
size_t existingLength(const std::string& native) {
    size_t length = native.find_last_not_of('/');
    while (length != std::string::npos && length > 0) {
        const size_t slash = native.rfind('/', length);
        if (slash == std::string::npos || slash == 0) break;
        length = slash;
        if (exists(native.substr(0, length))) return length;
        --length;
    }
    return 0;
}

std::string findIgnoringCase(const std::string& native) {
    const size_t kept = existingLength(native);
    std::string found = native.substr(0, kept);
    size_t position = kept;
    while (position < native.size()) {
        const size_t start = native.find_first_not_of('/', position);
        if (start == std::string::npos) break;
        found.append(native, position, start - position);
        const size_t end = std::min(native.find('/', start), native.size());
        const std::string_view name = std::string_view(native).substr(start, end - start);
        const std::string entry = entryNamed(found.empty() ? "." : found, name);
        if (entry.empty()) return found.append(native, start);
        found += entry;
        position = end;
    }
    return found.append(native, position);
}

}  // namespace

std::string nativeSpelling(std::string_view path) {
    // A NUL would end the name early and so lead to another file than the text says.
    if (path.find('\0') != std::string_view::npos) return {};
    std::string native(path);
    const auto respell = [](char& c) { c = c == '\\' ? '/' : c; };
    // Every look at a file comes here. Steps of a fixed size are done at once.
    constexpr size_t kStep = 16;
    auto at = native.begin();
    for (; native.end() - at >= ptrdiff_t{kStep}; at += kStep) std::for_each_n(at, kStep, respell);
    std::for_each(at, native.end(), respell);
    return native;
}

FoundPath findPath(std::string_view path) {
    FoundPath found;
    errno = ENOENT;
    found.native = nativeSpelling(path);
    if (found.native.empty()) return found;
    found.exists = ::stat(found.native.c_str(), &found.status) == 0;
    if (found.exists || errno != ENOENT) return found;
    found.native = findIgnoringCase(found.native);
    found.exists = ::stat(found.native.c_str(), &found.status) == 0;
    return found;
}

std::string nativeParent(const std::string& native) {
    const size_t slash = native.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : native.substr(0, slash);
}

}  // namespace platform
