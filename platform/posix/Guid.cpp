#include "platform/Guid.h"

#include <bit>

#include "platform/Random.h"

namespace platform {

Guid newGuid() {
    std::array<uint8_t, sizeof(Guid)> random{};
    fillRandom(random);
    Guid guid = std::bit_cast<Guid>(random);
    guid.data3 = static_cast<uint16_t>((guid.data3 & 0x0FFF) | 0x4000);   // version 4
    guid.data4[0] = static_cast<uint8_t>((guid.data4[0] & 0x3F) | 0x80);  // random variant
    return guid;
}

}  // namespace platform
