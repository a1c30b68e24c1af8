#include "webdav/frame/FolderSettings.h"

#include "webdav/base/INIFile.h"
#include "webdav/base/Settings.h"
#include "webdav/store/StoreOperations.h"
#include "webdav/store/StoreSettings.h"

namespace webdav {

namespace {

constexpr const char* kPublicFoldersSection = "Public Folders";

struct FolderNameSetting {
    const ItemKind& kind;
    const char* key;
    const char* defaultName;
};

const FolderNameSetting kFolderNameSettings[] = {
    {kCalendarKind, "CalendarFolderName", "Calendar"},
    {kTaskKind, "TasksFolderName", "Tasks"},
    {kContactKind, "ContactsFolderName", "Contacts"},
};

}  // namespace

bool SharedFoldersEnabled() {
    return store().CV_GetBoolKey(kPublicFoldersSection, "EnableSharedFolders", 1,
                                 STORE_FILE_MAIN) != 0;
}

bool PublicFoldersEnabled() {
    return store().CV_GetBoolKey(kPublicFoldersSection, "EnablePublicFolders", 0,
                                 STORE_FILE_MAIN) != 0;
}

std::string PublicFoldersDirectory() {
    CINIFile settings;
    settings.path = ReadRegistryString("IniPath");
    settings.section = "Directories";
    std::string directory = settings.ReadString("PublicFolders", "");
    if (!directory.empty() && directory.back() != '\\') directory += '\\';
    return directory;
}

std::string DefaultPublicFolderName(const ItemKind& kind) {
    for (const FolderNameSetting& setting : kFolderNameSettings)
        if (&setting.kind == &kind)
            return ReadUserDefault(setting.key, setting.defaultName,
                                   StoreFilePath(STORE_FILE_USER_SETTINGS));
    return {};
}

}  // namespace webdav
