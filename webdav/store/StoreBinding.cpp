#include "webdav/store/StoreBinding.h"

#include <cstdint>
#include <string>

#include "platform/DynamicLibrary.h"
#include "platform/Error.h"
#include "platform/PrivateProfile.h"
#include "platform/Registry.h"
#include "webdav/log/Log.h"
#include "webdav/store/StoreOperations.h"

namespace webdav {

namespace {

constexpr const char* kProductKey = "Software\\Quindle Software\\Corvane";
constexpr size_t kRegistryValueSize = 254;
constexpr size_t kUserDllTypeSize = 16;
constexpr uint32_t kNameMissing = 1;

struct Binding {
    platform::DynamicLibrary user;
    platform::DynamicLibrary calendar;
    StoreOperations operations;
    bool loaded = false;
};

Binding binding;

/// How one step of binding ended; without success the code goes to the log, 0 for an empty value.
struct Outcome {
    bool bound = false;
    uint32_t code = 0;
};

/// A product value that binding cannot do without. Outcome tells why it is not there.
Outcome readProductValue(const char* name, std::string& value) {
    platform::RegistryText read = platform::readRegistryText(kProductKey, name, kRegistryValueSize);
    value = std::move(read.text);
    return {read.error == 0 && !value.empty(), read.error};
}

template <typename Function>
bool bind(const platform::DynamicLibrary& library, const char* name, Function& pointer) {
    pointer = library.function<Function>(name);
    return pointer != nullptr;
}

bool bindUserNames(const platform::DynamicLibrary& library, StoreOperations& operations) {
#define WEBDAV_BIND(name) &&bind(library, #name, operations.name)
    return true WEBDAV_USER_OPERATIONS(WEBDAV_BIND);
}

bool bindCalendarNames(const platform::DynamicLibrary& library, StoreOperations& operations) {
    return true WEBDAV_CALENDAR_OPERATIONS(WEBDAV_BIND);
#undef WEBDAV_BIND
}

using BindNames = bool (*)(const platform::DynamicLibrary&, StoreOperations&);

/// Loads a library and binds its names, all or none.
Outcome bindLibrary(platform::DynamicLibrary& library, const std::string& path, BindNames bindNames,
                    StoreOperations& operations) {
    if (const uint32_t error = library.load(path); error != 0) return {false, error};
    StoreOperations bound = operations;
    if (!bindNames(library, bound)) {
        library.unload();
        return {false, kNameMissing};
    }
    operations = bound;
    return {true, 0};
}

Outcome bindUserLibrary() {
    std::string appPath;
    std::string iniPath;
    if (const Outcome read = readProductValue("AppPath", appPath); !read.bound) return read;
    if (const Outcome read = readProductValue("IniPath", iniPath); !read.bound) return read;
    const std::string type =
        platform::readProfileText(iniPath, "Advanced", "UserDllType", "", kUserDllTypeSize);
    const Outcome outcome =
        bindLibrary(binding.user, appPath + "\\CVUser" + type, bindUserNames, binding.operations);
    if (outcome.bound) binding.operations.CV_ReloadUsers();
    return outcome;
}

Outcome bindCalendarLibrary() {
    std::string appPath;
    if (const Outcome read = readProductValue("AppPath", appPath); !read.bound) return read;
    return bindLibrary(binding.calendar, appPath + "\\CVCalendar", bindCalendarNames,
                       binding.operations);
}

/// Logs the failure and leaves its code as the thread's last error, for the web server to report.
bool refuse(const char* library, uint32_t code) {
    Log(kLogCritical, nullptr, "Unable to load %s. Error: %d", library, static_cast<int>(code));
    platform::setLastError(code);
    return false;
}

}  // namespace

bool LoadStore() {
    Log(kLogStatus, nullptr, "Loading Corvane API");
    if (const Outcome user = bindUserLibrary(); !user.bound) return refuse("CVUser.dll", user.code);
    Log(kLogDebug, nullptr, "Loaded CVUser.dll");
    if (const Outcome calendar = bindCalendarLibrary(); !calendar.bound)
        return refuse("CVCalendar.dll", calendar.code);
    Log(kLogDebug, nullptr, "Loaded CVCalendar.dll");
    binding.loaded = true;
    return true;
}

void UnloadStore() {
    if (!binding.loaded) return;
    Log(kLogStatus, nullptr, "Unloading Corvane API");
    binding.calendar.unload();
    Log(kLogDebug, nullptr, "Unloaded CVCalendar.dll");
    binding.user.unload();
    Log(kLogDebug, nullptr, "Unloaded CVUser.dll");
    binding.operations = {};
    binding.loaded = false;
}

bool IsStoreLoaded() {
    return binding.loaded;
}

const StoreOperations& store() {
    return binding.operations;
}

}  // namespace webdav
