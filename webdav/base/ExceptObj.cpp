#include "webdav/base/ExceptObj.h"

namespace webdav {

namespace {

constexpr size_t kMaxFileName = 260;

std::string_view fileNameOf(std::string_view path) {
    const size_t backslash = path.rfind('\\');
    if (backslash == std::string_view::npos) return "Unknown File";
    return path.substr(backslash + 1).substr(0, kMaxFileName);
}

}  // namespace

ExceptObj::ExceptObj(uint32_t line, std::string_view file, std::string_view message)
    : line_(line), file_(fileNameOf(file)), message_(message) {}

}  // namespace webdav
