#include "webdav/store/StoreSettings.h"

#include "webdav/store/StoreOperations.h"

namespace webdav {

std::string StoreFilePath(uint32_t fileId) {
    char path[STORE_DB_PATH_SIZE] = {};
    store().CV_GetDBPath(path, fileId);
    path[sizeof path - 1] = '\0';
    return path;
}

std::string StoreSetting(const std::string& section, const char* key, const char* defaultValue) {
    char value[128] = {};
    store().CV_GetStringKey(section.c_str(), key, defaultValue, value, sizeof value,
                            STORE_FILE_MAIN);
    value[sizeof value - 1] = '\0';
    return value;
}

}  // namespace webdav
