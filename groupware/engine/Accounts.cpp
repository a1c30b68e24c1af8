#include "groupware/engine/Accounts.h"

#include <algorithm>
#include <array>
#include <string>

#include "abi/StoreTypes.h"
#include "groupware/engine/Folders.h"
#include "groupware/engine/Names.h"
#include "groupware/engine/PasswordChecker.h"
#include "platform/Files.h"
#include "platform/LocalTime.h"
#include "platform/PrivateProfile.h"

namespace groupware {

namespace {

struct DefaultFolder {
    ItemKind kind;
    const char* settingsKey;
    const char* name;
};
constexpr std::array<DefaultFolder, 3> kDefaultFolders = {{
    {ItemKind::kEvent, "CalendarFolderName", "Calendar"},
    {ItemKind::kTask, "TasksFolderName", "Tasks"},
    {ItemKind::kContact, "ContactsFolderName", "Contacts"},
}};

bool isHosted(Engine& engine, std::string_view domain) {
    return std::ranges::count(engine.database().domains(), domain) > 0;
}

Problem problemOfPassword(std::string_view password) {
    if (password.empty()) return "the password is empty";
    if (password.size() > kMostPasswordBytes) {
        return "the password is too long: at most " + std::to_string(kMostPasswordBytes) + " bytes";
    }
    return std::nullopt;
}

/// Whether a new account or alias may have this address; lower case.
Problem problemOfNewAddress(Engine& engine, const std::string& address) {
    if (!isAddress(address)) {
        return address + " is no address that an account can have: mailbox@domain of letters, " +
               "digits and . _ - + = is wanted, at most " + std::to_string(STORE_ADDRESS_SIZE - 1) +
               " bytes, the domain at most " + std::to_string(STORE_DOMAIN_NAME_SIZE - 1);
    }
    const std::string domain(addressParts(address).domain);
    if (!isHosted(engine, domain)) {
        return "the domain " + domain + " is not hosted here; add it first";
    }
    if (engine.database().accountByAlias(address)) return address + " exists already";
    return std::nullopt;
}

/// 0 for never.
int64_t expiryOf(const AccountRow& account) {
    constexpr int64_t kDayMs = 86'400'000;
    if (account.passwordDays == 0) return 0;
    const int64_t from = account.passwordSetMs == 0 ? platform::nowUtcMs() : account.passwordSetMs;
    return from + account.passwordDays * kDayMs;
}

bool removeTree(const std::string& directory) {
    return !platform::directoryExists(directory) || platform::removeDirectoryTree(directory);
}

/// Changes an account that must be there.
template <typename Change>
Problem changeAccount(Engine& engine, std::string_view address, Change change) {
    const auto transaction = engine.database().begin();
    auto account = engine.findAccount(address);
    if (!account) return noAccount(address);
    change(*account);
    transaction->updateAccount(*account);
    transaction->commit();
    return std::nullopt;
}

}  // namespace

Problem addDomain(Engine& engine, std::string_view domain) {
    if (!isDomainName(domain)) {
        return std::string(domain) + " is no domain name of at most " +
               std::to_string(STORE_DOMAIN_NAME_SIZE - 1) + " bytes";
    }
    const std::string name = lowerAscii(domain);
    const auto transaction = engine.database().begin();
    if (isHosted(engine, name)) return "the domain " + name + " exists already";
    // Before the commit: what fails half-way can then be asked for again.
    if (!platform::writeProfileText(engine.paths().domainSettings, name, "FQDN", name)) {
        return "cannot write " + platform::nativePath(engine.paths().domainSettings);
    }
    transaction->addDomain(name);
    transaction->commit();
    return std::nullopt;
}

Problem addUser(Engine& engine, std::string_view address, std::string_view fullName,
                std::string_view password) {
    AccountRow account;
    account.address = lowerAscii(address);
    account.fullName = fullName;
    if (fullName.size() >= STORE_NAME_SIZE || !isDisplayText(fullName)) {
        return "the full name must be UTF-8 without control characters, at most " +
               std::to_string(STORE_NAME_SIZE - 1) + " bytes";
    }
    if (auto problem = problemOfPassword(password)) return problem;
    account.passwordHash = engine.passwords().hash(password);
    account.passwordSetMs = platform::nowUtcMs();

    const auto transaction = engine.database().begin();
    if (auto problem = problemOfNewAddress(engine, account.address)) return problem;
    account.id = transaction->addAccount(account);
    for (const DefaultFolder& folder : kDefaultFolders) {
        const std::string name =
            platform::readProfileText(engine.paths().userSettings, "Default:UserDefaults",
                                      folder.settingsKey, folder.name, STORE_NAME_SIZE);
        if (auto problem = problemOfFolderName(engine, account, name)) return problem;
        transaction->addFolder(account.id, name, folder.kind, true);
    }
    // What a former account of that address may have left, access tokens too, is not the new one's.
    if (!removeTree(engine.mailDirectory(account))) {
        return "cannot remove the left-over directory " +
               platform::nativePath(engine.mailDirectory(account));
    }
    transaction->commit();
    engine.refreshMirror(account.id);
    return std::nullopt;
}

Problem removeUser(Engine& engine, std::string_view address) {
    const auto transaction = engine.database().begin();
    const auto account = engine.findAccount(address);
    if (!account) return noAccount(address);
    transaction->removeAccount(account->id);
    transaction->commit();
    if (!removeTree(engine.mailDirectory(*account))) {
        return account->address + " is removed, but its directory " +
               platform::nativePath(engine.mailDirectory(*account)) + " could not be";
    }
    return std::nullopt;
}

Problem setPassword(Engine& engine, std::string_view address, std::string_view password) {
    if (auto problem = problemOfPassword(password)) return problem;
    const std::string hash = engine.passwords().hash(password);
    return changeAccount(engine, address, [&](AccountRow& account) {
        account.passwordHash = hash;
        account.mustChangePassword = false;
        account.passwordSetMs = platform::nowUtcMs();
        account.passwordExpiresMs = expiryOf(account);
    });
}

Problem setPasswordDays(Engine& engine, std::string_view address, int64_t days) {
    return changeAccount(engine, address, [&](AccountRow& account) {
        account.passwordDays = days;
        account.passwordExpiresMs = expiryOf(account);
    });
}

Problem setUserFlag(Engine& engine, std::string_view address, UserFlag flag, bool on) {
    return changeAccount(engine, address, [&](AccountRow& account) {
        switch (flag) {
            case UserFlag::kDisabled:
                account.disabled = on;
                break;
            case UserFlag::kFrozen:
                account.frozen = on;
                break;
            case UserFlag::kMustChangePassword:
                account.mustChangePassword = on;
                break;
            case UserFlag::kPublishesBusyTime:
                account.publishesBusyTime = on;
                break;
        }
    });
}

Problem addAlias(Engine& engine, std::string_view address, std::string_view alias) {
    const std::string name = lowerAscii(alias);
    const auto transaction = engine.database().begin();
    const auto account = engine.findAccount(address);
    if (!account) return noAccount(address);
    if (auto problem = problemOfNewAddress(engine, name)) return problem;
    transaction->addAlias(name, account->id);
    transaction->commit();
    return std::nullopt;
}

Problem removeAlias(Engine& engine, std::string_view address, std::string_view alias) {
    const std::string name = lowerAscii(alias);
    const auto transaction = engine.database().begin();
    const auto account = engine.findAccount(address);
    if (!account) return noAccount(address);
    const auto owner = engine.database().accountByAlias(name);
    if (!owner || owner->id != account->id || name == account->address) {
        return name + " is no alias of " + account->address;
    }
    transaction->removeAlias(name);
    transaction->commit();
    return std::nullopt;
}

}  // namespace groupware
