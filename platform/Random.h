// The system's cryptographic random source.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace platform {

/// One opened random source. Each step tells whether it worked, as callers log them apart.
class RandomSource {
  public:
    RandomSource() = default;
    ~RandomSource();
    RandomSource(const RandomSource&) = delete;
    RandomSource& operator=(const RandomSource&) = delete;

    bool acquire();
    bool draw(std::span<uint8_t> bytes);
    bool release();

  private:
    bool acquired_ = false;
};

/// Fills the bytes, or ends the process when the system has no random bytes to give.
void fillRandom(std::span<uint8_t> bytes);

}  // namespace platform
