#include "platform/DynamicLibrary.h"

#include <cerrno>
#include <filesystem>
#include <utility>

#include <dlfcn.h>
#include <unistd.h>

#include "platform/Error.h"
#include "platform/Files.h"
#include "platform/posix/AsciiCase.h"

namespace platform {
namespace {

constexpr std::string_view kExtension = ".so";

std::string libraryFile(std::string_view path) {
    const bool isComplete =
        path.size() > kExtension.size() &&
        equalIgnoringCase(path.substr(path.size() - kExtension.size()), kExtension);
    std::string native = nativePath(std::string(path).append(isComplete ? "" : kExtension));
    // A lone name would be looked for among the system's libraries.
    return native.find('/') == std::string::npos ? "./" + native : native;
}

}  // namespace

DynamicLibrary::~DynamicLibrary() {
    unload();
}

DynamicLibrary::DynamicLibrary(DynamicLibrary&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)), problem_(std::move(other.problem_)) {}

DynamicLibrary& DynamicLibrary::operator=(DynamicLibrary&& other) noexcept {
    std::swap(handle_, other.handle_);
    std::swap(problem_, other.problem_);
    return *this;
}

uint32_t DynamicLibrary::load(std::string_view path) {
    unload();
    problem_.clear();
    const std::string file = libraryFile(path);
    if (::access(file.c_str(), R_OK) != 0) {
        const uint32_t error = lastError();
        problem_ = file + ": " + describeError(error);
        return error;
    }
    handle_ = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ != nullptr) return 0;
    const char* const text = ::dlerror();
    problem_ = text != nullptr ? text : file;
    return ENOEXEC;
}

void DynamicLibrary::unload() {
    if (handle_ != nullptr) ::dlclose(std::exchange(handle_, nullptr));
}

void* DynamicLibrary::symbol(const char* name) const {
    return handle_ == nullptr ? nullptr : ::dlsym(handle_, name);
}

std::string libraryDirectory() {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path prefix = program.parent_path().parent_path();
    std::filesystem::path libraries = prefix / CVWEBDAV_LIBRARY_DIRECTORY;
    if (!std::filesystem::is_directory(libraries, error)) libraries = prefix / "lib";
    return fromNativePath(libraries.native()) + '\\';
}

}  // namespace platform
