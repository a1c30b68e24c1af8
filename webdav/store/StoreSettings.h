// Settings and files that the store knows by itself, without the buffers of its operations.
//
// Only while the store is loaded; safe from every thread.
#pragma once

#include <cstdint>
#include <string>

namespace webdav {

/// The path of one of the store's files, STORE_FILE_...
std::string StoreFilePath(uint32_t fileId);

/// A text of the store's main settings, at most 127 bytes.
std::string StoreSetting(const std::string& section, const char* key, const char* defaultValue);

}  // namespace webdav
