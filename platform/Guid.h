// New globally unique identifiers.
#pragma once

#include <array>
#include <cstdint>

namespace platform {

struct Guid {
    uint32_t data1 = 0;
    uint16_t data2 = 0;
    uint16_t data3 = 0;
    std::array<uint8_t, 8> data4{};
};

/// A random (version 4) identifier.
Guid newGuid();

}  // namespace platform
