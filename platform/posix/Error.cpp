#include "platform/Error.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>

namespace platform {
namespace {

struct Description {
    uint32_t code;
    std::string_view text;
};

// The codes that the extension interface gives a meaning of its own. 122 is a code of the system
// as well.
constexpr std::array<Description, 4> kDescriptions{{
    {kErrorInsufficientBuffer, "Buffer too small, or disk quota exceeded"},
    {kErrorMoreData, "More data than fits"},
    {kErrorFileChanged, "The file was changed meanwhile"},
    {kErrorInvalidIndex, "No such index"},
}};

}  // namespace

uint32_t lastError() {
    return static_cast<uint32_t>(errno);
}

void setLastError(uint32_t code) {
    errno = static_cast<int>(code);
}

bool isTimeout(uint32_t code) {
    return code == ETIMEDOUT;
}

std::string describeError(uint32_t code) {
    const auto found = std::ranges::find(kDescriptions, code, &Description::code);
    if (found != kDescriptions.end()) return std::string(found->text);
    return std::system_category().message(static_cast<int>(code));
}

}  // namespace platform
