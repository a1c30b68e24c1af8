// Marks the definitions that a dynamic library offers by name; everything else stays hidden.
#pragma once

#ifdef _WIN32
#define PLATFORM_EXPORT extern "C" __declspec(dllexport)
#else
#define PLATFORM_EXPORT extern "C" __attribute__((visibility("default")))
#endif
