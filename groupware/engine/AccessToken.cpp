#include "groupware/engine/AccessToken.h"

#include <array>
#include <cstdint>

#include "groupware/engine/Folders.h"
#include "groupware/engine/MirrorTree.h"
#include "platform/Random.h"

namespace groupware {

namespace {

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

void store(Engine& engine, WriteTransaction& change, FolderKey folder, std::string_view token) {
    change.setToken(folder, token);
    change.commit();
    engine.refreshMirror(folder.account);
}

}  // namespace

std::string accessToken(Engine& engine, const AccountRow& owner, const FolderRow& folder) {
    return folder.token ? *folder.token : tokenIn(engine.folderDirectory(owner, folder));
}

Problem makeAccessToken(Engine& engine, const AccountRow& owner, std::string_view folder,
                        std::string& token) {
    // Of two tokens made at once the first would be void as soon as it is told.
    const auto change = engine.database().begin();
    const auto row = engine.database().folder(owner.id, folder);
    if (!row) return noFolder(owner, folder);
    token = accessToken(engine, owner, *row);
    if (!token.empty()) return std::nullopt;
    token = newToken();
    store(engine, *change, row->key, token);
    return std::nullopt;
}

Problem removeAccessToken(Engine& engine, const AccountRow& owner, std::string_view folder) {
    const auto change = engine.database().begin();
    const auto row = engine.database().folder(owner.id, folder);
    if (!row) return noFolder(owner, folder);
    if (accessToken(engine, owner, *row).empty()) {
        return owner.address + "'s folder " + quoted(row->name) + " has no access token";
    }
    store(engine, *change, row->key, "");
    return std::nullopt;
}

}  // namespace groupware
