// The system's last error of the calling thread, as a number for log lines and for the host.
#pragma once

#include <cstdint>
#include <string>

namespace platform {

inline constexpr uint32_t kErrorInsufficientBuffer = 122;
inline constexpr uint32_t kErrorMoreData = 234;
inline constexpr uint32_t kErrorFileChanged = 1006;
inline constexpr uint32_t kErrorInvalidIndex = 1413;

/// The calling thread's last error: errno on POSIX, GetLastError() on Windows.
uint32_t lastError();

/// Sets what lastError() answers on this thread; the host tells the extension so why a call failed.
void setLastError(uint32_t code);

/// Whether that code says that something took longer than it was given.
bool isTimeout(uint32_t code);

/// A short text for an error code, for people.
std::string describeError(uint32_t code);

}  // namespace platform
