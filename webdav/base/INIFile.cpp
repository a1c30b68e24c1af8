#include "webdav/base/INIFile.h"

#include "platform/PrivateProfile.h"
#include "webdav/store/StoreOperations.h"

namespace webdav {

namespace {

constexpr uint32_t kBufferSize = 2047;

}  // namespace

std::string CINIFile::ReadString(const char* key, const char* defaultValue) const {
    if (!useStore) return platform::readProfileText(path, section, key, defaultValue, kBufferSize);
    char value[kBufferSize + 1] = {};
    store().CV_GetStringKey(section.c_str(), key, defaultValue, value, kBufferSize,
                            static_cast<uint32_t>(fileId));
    return value;
}

bool CINIFile::ReadBool(const char* key, bool defaultValue) const {
    if (useStore)
        return store().CV_GetBoolKey(section.c_str(), key, defaultValue ? 1 : 0,
                                     static_cast<uint32_t>(fileId)) != 0;
    return IsYes(ReadString(key, defaultValue ? "Yes" : "No"));
}

bool CINIFile::IsYes(std::string_view value) {
    return value.starts_with('Y') || value.starts_with('y') || value == "1";
}

int32_t CINIFile::ReadInt(const char* key, int32_t defaultValue) const {
    if (useStore)
        return store().CV_GetIntKey(section.c_str(), key, defaultValue,
                                    static_cast<uint32_t>(fileId));
    return platform::readProfileInt(path, section, key, defaultValue);
}

void CINIFile::WriteString(const char* key, const std::string& value) const {
    if (useStore) {
        store().CV_SetStringKey(section.c_str(), key, value.c_str(), static_cast<uint32_t>(fileId));
    } else {
        platform::writeProfileText(path, section, key, value);
    }
}

}  // namespace webdav
