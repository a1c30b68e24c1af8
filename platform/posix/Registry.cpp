#include "platform/Registry.h"

#include <cerrno>
#include <cstdlib>

#include "platform/Error.h"
#include "platform/Files.h"
#include "platform/posix/ProfileCache.h"

namespace platform {
namespace {

constexpr const char* kVariable = "CORVANE_REGISTRY";
constexpr const char* kDefaultFile = "/etc/corvane/registry.ini";

}  // namespace

RegistryText readRegistryText(std::string_view key, std::string_view valueName, size_t maxBytes) {
    const std::shared_ptr<const ProfileText> file =
        ProfileCache::instance().read(registryFilePath());
    if (!file) return {ENOENT, {}};
    const std::optional<std::string_view> value = file->find(key, valueName);
    if (!value) return {ENOENT, {}};
    if (value->size() >= maxBytes) return {kErrorMoreData, {}};
    return {0, std::string(*value)};
}

std::string registryFilePath() {
    const char* const named = std::getenv(kVariable);
    return fromNativePath(named != nullptr && *named != '\0' ? named : kDefaultFile);
}

bool useRegistryFile(std::string_view path) {
    return ::setenv(kVariable, nativePath(path).c_str(), 1) == 0;
}

}  // namespace platform
