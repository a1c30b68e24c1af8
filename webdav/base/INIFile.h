// One section of a settings file, read and written key by key.
//
// A value local to its user; nothing is cached, so a change of the file takes effect at the next
// read. No read fails: a missing file, section or key gives the default.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace webdav {

class CINIFile {
  public:
    CINIFile() = default;
    virtual ~CINIFile() = default;

    std::string section;
    std::string path;
    /// Reads and writes go to the store's own settings operations instead of the file.
    bool useStore = false;
    int32_t fileId = 0;  ///< which of the store's settings files, STORE_FILE_...

    /// At most 2046 bytes of the value.
    std::string ReadString(const char* key, const char* defaultValue) const;
    /// True for a text that begins with "Y" in either case and for exactly "1".
    bool ReadBool(const char* key, bool defaultValue) const;
    static bool IsYes(std::string_view value);
    int32_t ReadInt(const char* key, int32_t defaultValue) const;
    void WriteString(const char* key, const std::string& value) const;
};

}  // namespace webdav
