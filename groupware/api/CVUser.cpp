#include "abi/CVUser.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "groupware/api/Guarded.h"
#include "groupware/engine/AccountHandle.h"
#include "groupware/engine/Engine.h"
#include "groupware/engine/FolderRights.h"
#include "groupware/engine/ModifiedUtf7.h"
#include "groupware/engine/Names.h"
#include "groupware/engine/PasswordChecker.h"
#include "groupware/engine/Settings.h"
#include "groupware/items/SnapshotCache.h"
#include "groupware/mail/MailSender.h"
#include "platform/Export.h"
#include "platform/LocalTime.h"
#include "platform/PrivateProfile.h"

namespace groupware {

namespace {

/// Rights on the empty path, behind which no data stands: a target without a folder is listed.
constexpr uint32_t kRightsWithoutFolder = STORE_RIGHT_READ | STORE_RIGHT_DELETE;

Engine& engine() {
    return Engine::ofProcess();
}

std::string_view textOf(const char* text) {
    return text ? text : "";
}

/// Cuts at the end of a whole UTF-8 character.
void fill(char* buffer, size_t size, std::string_view text) {
    if (!buffer || size == 0) return;
    size_t length = std::min(text.size(), size - 1);
    if (length < text.size()) {
        while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) --length;
    }
    if (length > 0) std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
}

template <size_t kSize>
void fill(char (&buffer)[kSize], std::string_view text) {
    fill(buffer, kSize, text);
}

StoreUserHandle handleFor(std::optional<AccountRow> account) {
    if (!account) return STORE_NO_USER;
    engine().refreshMirror(*account);
    engine().refreshMirror(kPublicAccount);  // whoever has an account may go there next
    std::string directory = engine().mailDirectory(*account);
    return handOut(
        std::make_unique<AccountHandle>(AccountHandle{*std::move(account), std::move(directory)}));
}

template <typename Test>
int32_t testAccount(StoreUserHandle user, Test test) {
    const AccountHandle* account = behind(user);
    return account && test(account->account) ? 1 : 0;
}

/// Empty for a file that the store does not know.
std::string settingsFile(uint32_t fileId) {
    const DataPaths& paths = engine().paths();
    switch (fileId) {
        case STORE_FILE_MAIN:
            return paths.mainSettings;
        case STORE_FILE_DOMAINS:
            return paths.domainSettings;
        case STORE_FILE_USER_SETTINGS:
            return paths.userSettings;
        default:
            return {};
    }
}

/// The name is the folder's below its owner's directory, with what is to stand before it.
void addRecord(std::vector<StoreFolderRecord>& records, const AccountRow& owner,
               const FolderRow& folder, const std::string& prefix) {
    StoreFolderRecord& record = records.emplace_back();
    const std::string name = folderDirectoryName(folder.name);
    // Both fit: they make up less than the folder's directory, which is shorter than either field.
    fill(record.imapName, prefix + name);
    fill(record.directory, engine().mailDirectory(owner) + name);
    fill(record.folderClass, folderClass(folder.kind));
}

std::vector<StoreFolderRecord> ownFolders(const AccountRow& account) {
    engine().followChanges(account);
    const std::vector<FolderRow> folders = engine().database().folders(account.id);
    std::vector<StoreFolderRecord> records;
    records.reserve(folders.size());
    for (const FolderRow& folder : folders) addRecord(records, account, folder, "");
    return records;
}

std::vector<StoreFolderRecord> recordsOf(const std::vector<OwnedFolder>& folders) {
    std::vector<StoreFolderRecord> records;
    records.reserve(folders.size());
    for (const auto& [owner, folder] : folders) {
        const std::string prefix = owner.id == kPublicAccount ? "" : owner.address + "\\";
        addRecord(records, owner, folder, prefix);
    }
    return records;
}

/// Nothing for a kind that does not exist.
std::optional<std::vector<StoreFolderRecord>> foldersOfKind(const AccountRow& account,
                                                            uint32_t kind) {
    switch (kind) {
        case STORE_FOLDERS_OWN:
            return ownFolders(account);
        case STORE_FOLDERS_PUBLIC:
            return recordsOf(publicFolders(engine(), account));
        case STORE_FOLDERS_SHARED:
            return recordsOf(sharedFolders(engine(), account));
        default:
            return std::nullopt;
    }
}

const MailSenderEnd endOfMail;

}  // namespace

}  // namespace groupware

using namespace groupware;

PLATFORM_EXPORT StoreUserHandle CV_GetByEmail(const char* address) {
    return guarded(STORE_NO_USER, [&] {
        return handleFor(engine().database().account(lowerAscii(textOf(address))));
    });
}

PLATFORM_EXPORT StoreUserHandle CV_GetByAlias(const char* address, const char* /*reserved*/) {
    return guarded(STORE_NO_USER, [&] {
        auto account = engine().database().accountByAlias(lowerAscii(textOf(address)));
        // Logins come this way, and end here when nobody has the address.
        if (!account) engine().passwords().spendACheck();
        return handleFor(std::move(account));
    });
}

PLATFORM_EXPORT void CV_GetFree(StoreUserHandle user) {
    takeBack(user);
}

PLATFORM_EXPORT void CV_GetEmail(StoreUserHandle user, char* address) {
    const AccountHandle* account = behind(user);
    fill(address, STORE_ADDRESS_SIZE, account ? account->account.address : "");
}

PLATFORM_EXPORT void CV_GetMailDir(StoreUserHandle user, char* directory) {
    fill(directory, STORE_PATH_SIZE, "");
    guarded([&] {
        const AccountHandle* account = behind(user);
        if (!account) return;
        engine().followChanges(account->account);
        fill(directory, STORE_PATH_SIZE, account->mailDirectory);
    });
}

PLATFORM_EXPORT void CV_GetFullName(StoreUserHandle user, char* name) {
    const AccountHandle* account = behind(user);
    fill(name, STORE_NAME_SIZE, account ? account->account.fullName : "");
}

PLATFORM_EXPORT int32_t CV_ValidateUser(StoreUserHandle user, const char* password) {
    return guarded(0, [&] {
        // No account takes the time of a wrong password as well.
        const AccountHandle* account = behind(user);
        static const AccountRow kNobody;
        return engine().passwords().isRight(account ? account->account : kNobody, textOf(password))
                   ? 1
                   : 0;
    });
}

PLATFORM_EXPORT int32_t CV_GetIsDisabled(StoreUserHandle user) {
    return testAccount(user, [](const AccountRow& account) { return account.disabled; });
}

PLATFORM_EXPORT int32_t CV_GetIsFrozen(StoreUserHandle user) {
    return testAccount(user, [](const AccountRow& account) { return account.frozen; });
}

PLATFORM_EXPORT int32_t CV_IsPasswordTooOld(StoreUserHandle user) {
    return testAccount(user, [](const AccountRow& account) {
        return account.passwordExpiresMs != 0 && platform::nowUtcMs() >= account.passwordExpiresMs;
    });
}

PLATFORM_EXPORT int32_t CV_GetMustChangePassword(StoreUserHandle user) {
    return testAccount(user, [](const AccountRow& account) { return account.mustChangePassword; });
}

PLATFORM_EXPORT void CV_ReloadUsers(void) {
    // Called when the library has just been bound: the registry may name another directory than at
    // the last time. Opening it now spares the first request the wait.
    guarded([] {
        Engine::closeOfProcess();
        resumeSpooledMail(engine().paths());
    });
}

PLATFORM_EXPORT uint32_t CV_GetDomainCount(void) {
    return guarded(uint32_t{0},
                   [] { return static_cast<uint32_t>(engine().database().domains().size()); });
}

PLATFORM_EXPORT void CV_GetFigures(StoreFigures* figures, uint32_t size) {
    if (!figures) return;
    guarded([&] {
        const PasswordChecker::Figures passwords = engine().passwords().figures();
        const SnapshotCache::Figures snapshots = engine().snapshots().figures();
        const StoreFigures all = {passwords.remembered, passwords.recognized, passwords.hashed,
                                  snapshots.folders,    snapshots.bytes,      snapshots.reused,
                                  snapshots.read};
        std::memcpy(figures, &all, std::min<size_t>(size, sizeof all));
    });
}

PLATFORM_EXPORT void CV_GetDomainNames(char* names, uint32_t count) {
    if (!names) return;
    std::memset(names, 0, size_t{count} * STORE_DOMAIN_NAME_SIZE);
    guarded([&] {
        const auto domains = engine().database().domains();
        for (size_t i = 0; i < std::min<size_t>(count, domains.size()); ++i) {
            fill(names + i * STORE_DOMAIN_NAME_SIZE, STORE_DOMAIN_NAME_SIZE, domains[i]);
        }
    });
}

PLATFORM_EXPORT void CV_GetDBPath(char* path, uint32_t fileId) {
    fill(path, STORE_DB_PATH_SIZE, "");
    guarded([&] {
        // A path that has been cut would be that of another file.
        const std::string file = settingsFile(fileId);
        if (file.size() < STORE_DB_PATH_SIZE) fill(path, STORE_DB_PATH_SIZE, file);
    });
}

PLATFORM_EXPORT void CV_GetStringKey(const char* section, const char* key, const char* defaultValue,
                                     char* value, uint32_t valueSize, uint32_t fileId) {
    fill(value, valueSize, textOf(defaultValue));
    guarded([&] {
        // Read with room for the character at which it is cut.
        constexpr size_t kLongestCharacter = 4;
        fill(value, valueSize,
             platform::readProfileText(settingsFile(fileId), textOf(section), textOf(key),
                                       textOf(defaultValue), valueSize + kLongestCharacter));
    });
}

PLATFORM_EXPORT void CV_SetStringKey(const char* section, const char* key, const char* value,
                                     uint32_t fileId) {
    guarded([&] {
        const std::string file = settingsFile(fileId);
        if (!file.empty() && section && key) {
            platform::writeProfileText(file, section, key, textOf(value));
        }
    });
}

PLATFORM_EXPORT int32_t CV_GetIntKey(const char* section, const char* key, int32_t defaultValue,
                                     uint32_t fileId) {
    return guarded(defaultValue, [&] {
        return platform::readProfileInt(settingsFile(fileId), textOf(section), textOf(key),
                                        defaultValue);
    });
}

PLATFORM_EXPORT int32_t CV_GetBoolKey(const char* section, const char* key, int32_t defaultValue,
                                      uint32_t fileId) {
    return guarded(defaultValue, [&] {
        const bool on =
            readTruth(settingsFile(fileId), textOf(section), textOf(key), defaultValue != 0);
        // Whoever finds public folders switched on goes there next, a guest without any handle.
        if (on && equalsIgnoringCase(textOf(key), kEnablePublicFolders))
            engine().refreshMirror(kPublicAccount);
        return on ? 1 : 0;
    });
}

PLATFORM_EXPORT int32_t CV_GetIMAPFolderList(StoreUserHandle user, uint32_t listKind,
                                             StoreFolderRecord** folders, uint32_t* count) {
    if (!folders || !count) return 0;
    *folders = nullptr;
    *count = 0;
    return guarded(0, [&] {
        const AccountHandle* account = behind(user);
        if (!account) return 0;
        const auto records = foldersOfKind(account->account, listKind);
        if (!records) return 0;
        auto array = std::make_unique_for_overwrite<StoreFolderRecord[]>(records->size());
        std::ranges::copy(*records, array.get());
        *folders = array.release();
        *count = static_cast<uint32_t>(records->size());
        return 1;
    });
}

PLATFORM_EXPORT void CV_DeletePointer(void* pointer, void** holder) {
    const std::unique_ptr<StoreFolderRecord[]> array(static_cast<StoreFolderRecord*>(pointer));
    if (holder) *holder = nullptr;
}

PLATFORM_EXPORT void CV_DecodeIMAPFolderName(const char* imapName, char* name, uint32_t nameSize) {
    fill(name, nameSize, "");
    guarded([&] { fill(name, nameSize, decodeModifiedUtf7(textOf(imapName))); });
}

PLATFORM_EXPORT uint32_t CV_GetSharedFolderAccessMask(const char* folderPath,
                                                      const char* accountName) {
    return guarded(uint32_t{0}, [&]() -> uint32_t {
        if (textOf(folderPath).empty()) return kRightsWithoutFolder;
        return rightsInFolder(engine(), folderPath, textOf(accountName));
    });
}

PLATFORM_EXPORT uint32_t CV_GetPublicFolderAccessMask(const char* folderPath,
                                                      const char* accountName) {
    return guarded(uint32_t{0}, [&]() -> uint32_t {
        if (textOf(folderPath).empty()) return kRightsWithoutFolder;
        return rightsInPublicFolder(engine(), folderPath, textOf(accountName));
    });
}
