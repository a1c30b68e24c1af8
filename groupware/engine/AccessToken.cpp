#include "groupware/engine/AccessToken.h"

#include <array>
#include <cstdint>

#include "platform/Files.h"
#include "platform/PrivateProfile.h"
#include "platform/Random.h"

namespace groupware {

namespace {

constexpr const char* kSection = "WebDAV";
constexpr const char* kKey = "ReadonlyAccessToken";
constexpr size_t kMostTokenBytes = 2047;

/// The directory and the file in it exist afterwards.
std::string fileOf(Engine& engine, const AccountRow& owner, const FolderRow& folder) {
    engine.refreshMirror(owner.id);
    return engine.folderDirectory(owner, folder) + "\\hiwater.mrk";
}

std::string tokenIn(const std::string& file) {
    return platform::readProfileText(file, kSection, kKey, "", kMostTokenBytes + 1);
}

std::string newToken() {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::array<uint8_t, 16> bytes{};
    platform::fillRandom(bytes);
    std::string token;
    for (const uint8_t byte : bytes) {
        token += kDigits[byte >> 4U];
        token += kDigits[byte & 15U];
    }
    return token;
}

Problem cannotWrite(const std::string& file) {
    return "cannot write " + platform::nativePath(file);
}

}  // namespace

std::string accessToken(Engine& engine, const AccountRow& owner, const FolderRow& folder) {
    return tokenIn(fileOf(engine, owner, folder));
}

Problem makeAccessToken(Engine& engine, const AccountRow& owner, const FolderRow& folder) {
    const std::string file = fileOf(engine, owner, folder);
    // Of two tokens made at once the first would be void as soon as it is told.
    const auto turn = engine.database().begin();
    if (!tokenIn(file).empty()) return std::nullopt;
    // A file that the writing itself made would be readable for others.
    if (!platform::fileExists(file) ||
        !platform::writeProfileText(file, kSection, kKey, newToken())) {
        return cannotWrite(file);
    }
    return std::nullopt;
}

Problem removeAccessToken(Engine& engine, const AccountRow& owner, const FolderRow& folder) {
    const std::string file = fileOf(engine, owner, folder);
    if (tokenIn(file).empty()) {
        return owner.address + "'s folder " + quoted(folder.name) + " has no access token";
    }
    if (!platform::removeProfileKey(file, kSection, kKey)) return cannotWrite(file);
    return std::nullopt;
}

}  // namespace groupware
