#include "webdav/frame/UserSwitch.h"

#include <string_view>

#include "abi/StoreTypes.h"
#include "platform/PrivateProfile.h"
#include "webdav/base/Text.h"
#include "webdav/store/StoreSettings.h"

namespace webdav {

namespace {

struct Place {
    const platform::Profile* file;  ///< null where there is nothing to ask for
    std::string_view owner;
    std::string_view group;  ///< stands behind it in the name of the section
};

}  // namespace

bool UserSwitchIsOn(const std::string& email, const std::string& mailDirectory) {
    // Without an "@" the whole address counts as the domain.
    const std::string_view domain = std::string_view(email).substr(email.find('@') + 1);
    const platform::Profile settings(StoreFilePath(STORE_FILE_USER_SETTINGS));
    const platform::Profile own(mailDirectory + "WS\\User.ini");
    const platform::Profile* ofDomain = domain.empty() ? nullptr : &settings;
    const Place places[] = {
        {ofDomain, domain, ":UserOverrides"},
        {&settings, "Default", ":UserOverrides"},
        {mailDirectory.empty() ? nullptr : &own, "User", ""},
        {ofDomain, domain, ":UserDefaults"},
        {&settings, "Default", ":UserDefaults"},
    };
    std::string section;
    for (const auto& [file, owner, group] : places) {
        section.assign(owner).append(group);
        const auto value = file ? file->find(section, "EnableWebDAV") : std::nullopt;
        if (!value) continue;
        const std::string folded = ToLowerAscii(value->substr(0, 1));
        return folded == "y" || folded == "t" || folded == "1";
    }
    return false;
}

}  // namespace webdav
