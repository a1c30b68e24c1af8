#include "webdav/frame/UserSwitch.h"

#include <string_view>

#include "abi/StoreTypes.h"
#include "platform/PrivateProfile.h"
#include "webdav/base/Text.h"
#include "webdav/store/StoreSettings.h"

namespace webdav {

namespace {

// No setting holds this byte alone, so it tells a value that is not set from an empty one.
constexpr std::string_view kNotSet = "\xFF";
constexpr size_t kValueSize = 4;

struct Place {
    std::string file;
    std::string section;
};

std::string readSwitch(const Place& place) {
    if (place.file.empty()) return std::string(kNotSet);
    return platform::readProfileText(place.file, place.section, "EnableWebDAV", kNotSet,
                                     kValueSize);
}

}  // namespace

bool UserSwitchIsOn(const std::string& email, const std::string& mailDirectory) {
    // Without an "@" the whole address counts as the domain.
    const std::string domain = email.substr(email.find('@') + 1);
    const std::string settings = StoreFilePath(STORE_FILE_USER_SETTINGS);
    const std::string domainSettings = domain.empty() ? std::string() : settings;
    const std::string own = mailDirectory.empty() ? mailDirectory : mailDirectory + "WS\\User.ini";
    const Place places[] = {
        {domainSettings, domain + ":UserOverrides"},
        {settings, "Default:UserOverrides"},
        {own, "User"},
        {domainSettings, domain + ":UserDefaults"},
        {settings, "Default:UserDefaults"},
    };
    for (const Place& place : places) {
        const std::string value = readSwitch(place);
        if (value == kNotSet) continue;
        const std::string folded = ToLowerAscii(value.substr(0, 1));
        return folded == "y" || folded == "t" || folded == "1";
    }
    return false;
}

}  // namespace webdav
