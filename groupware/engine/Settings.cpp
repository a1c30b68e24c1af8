#include "groupware/engine/Settings.h"

#include <algorithm>

#include "platform/PrivateProfile.h"

namespace groupware {

namespace {

constexpr const char* kFoldersSection = "Public Folders";
constexpr const char* kEnableShared = "EnableSharedFolders";

}  // namespace

bool readTruth(std::string_view file, std::string_view section, std::string_view key,
               bool otherwise) {
    constexpr std::string_view kYes = "yYtT1";
    constexpr std::string_view kNo = "nNfF0";
    constexpr size_t kEnough = 16;
    const std::string value = platform::readProfileText(file, section, key, "", kEnough);
    if (value.empty()) return otherwise;
    if (kYes.find(value.front()) != std::string_view::npos) return true;
    if (kNo.find(value.front()) != std::string_view::npos) return false;
    return otherwise;
}

bool sharedFoldersEnabled(const DataPaths& paths) {
    return readTruth(paths.mainSettings, kFoldersSection, kEnableShared, true);
}

bool publicFoldersEnabled(const DataPaths& paths) {
    return readTruth(paths.mainSettings, kFoldersSection, kEnablePublicFolders, false);
}

size_t mostSnapshotBytes(const DataPaths& paths) {
    constexpr int32_t kDefault = 256;
    const int32_t megabytes =
        platform::readProfileInt(paths.mainSettings, "Store", "CacheMegabytes", kDefault);
    return static_cast<size_t>(std::max(megabytes, 0)) << 20;
}

bool enablePublicFolders(const DataPaths& paths) {
    return platform::writeProfileText(paths.mainSettings, kFoldersSection, kEnablePublicFolders,
                                      "1");
}

}  // namespace groupware
