#include "platform/posix/TemporaryName.h"

#include <algorithm>
#include <array>

#include "platform/Files.h"
#include "platform/Random.h"
#include "platform/posix/PathLookup.h"

namespace platform {
namespace {

constexpr std::string_view kDigits = "0123456789abcdef";
constexpr std::string_view kEnding = ".tmp";
constexpr size_t kRandomBytes = 12;

/// .0123456789abcdef01234567.tmp
std::string newName() {
    std::array<uint8_t, kRandomBytes> random{};
    fillRandom(random);
    std::string name = ".";
    for (const uint8_t byte : random) {
        name += kDigits[byte >> 4];
        name += kDigits[byte & 0x0F];
    }
    return name.append(kEnding);
}

}  // namespace

std::string temporaryNameBeside(const std::string& native) {
    return nativeParent(native) + "/" + newName();
}

std::string temporaryName(std::string_view path) {
    const size_t end = path.find_last_of('\\') + 1;  // 0 when there is none
    return std::string(path.substr(0, end)) + newName();
}

bool isTemporaryName(std::string_view name) {
    if (name.size() != 1 + 2 * kRandomBytes + kEnding.size() || !name.starts_with('.') ||
        !name.ends_with(kEnding)) {
        return false;
    }
    return std::ranges::all_of(name.substr(1, 2 * kRandomBytes),
                               [](char c) { return kDigits.find(c) != std::string_view::npos; });
}

}  // namespace platform
