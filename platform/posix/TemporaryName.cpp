#include "platform/posix/TemporaryName.h"

#include <array>

#include "platform/Random.h"
#include "platform/posix/PathLookup.h"

namespace platform {

std::string temporaryNameBeside(const std::string& native) {
    std::array<uint8_t, 12> random{};
    fillRandom(random);
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string name = nativeParent(native) + "/.";
    for (const uint8_t byte : random) {
        name += kDigits[byte >> 4];
        name += kDigits[byte & 0x0F];
    }
    return name + ".tmp";
}

}  // namespace platform
