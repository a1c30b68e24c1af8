#include <algorithm>
#include <chrono>
#include <thread>

#include "groupware/engine/MirrorTree.h"
#include "groupware/engine/Names.h"
#include "groupware/upkeep/Checks.h"
#include "platform/Files.h"

namespace groupware {

namespace {

/// A server writes a folder's marker after its change, and a temporary file for a moment: what is
/// still the same after that time is nobody's work in progress.
constexpr std::chrono::milliseconds kBetweenLooks{200};
constexpr int64_t kOldMs = 3'600'000;

/// What every account has beside its folders.
bool holdsOnlyAccountFiles(const std::string& directory) {
    return std::ranges::all_of(platform::listDirectory(directory), [](const std::string& name) {
        return name == "WS" || name == "mirror.lock";
    });
}

class MirrorsCheck {
  public:
    explicit MirrorsCheck(CheckRun& run) : run_(run), engine_(run.engine) {}

    void run() {
        auto accounts = engine_.database().accounts();
        if (auto common = engine_.database().accountById(kPublicAccount)) {
            accounts.push_back(std::move(*common));
        }
        const auto suspects = looked(accounts);
        const auto homeless = homelessDirectories();
        if (!suspects.empty() || !homeless.empty()) std::this_thread::sleep_for(kBetweenLooks);
        for (const auto& [account, before] : suspects) tellOf(account, before);
        tellOfHomeless(homeless);
    }

  private:
    using Suspect = std::pair<AccountRow, std::vector<std::string>>;

    std::vector<Suspect> looked(const std::vector<AccountRow>& accounts) {
        std::vector<Suspect> suspects;
        for (size_t i = 0; i < accounts.size(); ++i) {
            run_.progress("directories", i, accounts.size());
            run_.part([&] {
                auto differences = engine_.mirrorDifferences(accounts[i]);
                lookForLeftovers(accounts[i]);
                if (!differences.empty()) {
                    suspects.emplace_back(accounts[i], std::move(differences));
                }
            });
        }
        return suspects;
    }

    void tellOf(const AccountRow& account, const std::vector<std::string>& before) {
        if (!engine_.database().accountById(account.id)) return;
        auto still = engine_.mirrorDifferences(account);
        std::erase_if(
            still, [&](const std::string& each) { return std::ranges::count(before, each) == 0; });
        const std::string name = account.id == kPublicAccount ? "public" : account.address;
        for (const std::string& difference : still) {
            run_.tell(name + ", " + difference, [&] {
                engine_.refreshMirror(account.id);
                const auto left = engine_.mirrorDifferences(account);
                return std::ranges::count(left, difference) == 0;
            });
        }
    }

    /// Files that stayed when the process that wrote them was killed.
    void lookForLeftovers(const AccountRow& account) {
        const std::string root = engine_.mailDirectory(account);
        std::vector<std::string> directories = {root, root + "WS"};
        for (const FolderRow& folder : engine_.database().folders(account.id)) {
            directories.push_back(engine_.folderDirectory(account, folder));
        }
        if (account.id == kPublicAccount) directories.push_back(engine_.paths().root);
        for (const std::string& directory : directories) {
            for (const std::string& name : platform::listDirectory(directory)) {
                if (platform::isTemporaryName(name)) tellOfLeftover(directory + "\\" + name);
            }
        }
    }

    void tellOfLeftover(const std::string& path) {
        const auto written = platform::lastWriteTime(path);
        if (!written || platform::nowUtcMs() - platform::msFromUtc(*written) < kOldMs) return;
        run_.tell(platform::nativePath(path) + " was left over by a program that was killed",
                  [&] { return platform::removeFile(path); });
    }

    std::vector<std::string> homelessDirectories() {
        std::vector<std::string> found;
        const std::string& mail = engine_.paths().mail;
        for (const std::string& domain : platform::listDirectory(mail)) {
            for (const std::string& mailbox : platform::listDirectory(mail + "\\" + domain)) {
                if (isHomeless(domain, mailbox)) found.push_back(domain + "\\" + mailbox);
            }
        }
        return found;
    }

    /// A mailbox that holds something else is another program's, but for groupware folders in it.
    bool isHomeless(const std::string& domain, const std::string& mailbox) {
        const std::string root = engine_.paths().mail + "\\" + domain + "\\" + mailbox + "\\";
        return platform::kindOf(root) == platform::NameKind::kDirectory &&
               !engine_.database().account(lowerAscii(mailbox + "@" + domain)) &&
               (holdsOnlyAccountFiles(root) || !strangers(root, {}).empty());
    }

    void tellOfHomeless(const std::vector<std::string>& directories) {
        for (const std::string& name : directories) {
            const std::string path = engine_.paths().mail + "\\" + name;
            const size_t end = name.find('\\');
            if (!platform::directoryExists(path)) continue;
            run_.tell(platform::nativePath(path) + " belongs to no account", [&] {
                // No account of that name comes while the turn is ours.
                const auto turn = engine_.database().begin();
                return isHomeless(name.substr(0, end), name.substr(end + 1)) &&
                       removeStrangers(path + "\\", {}) &&
                       (!holdsOnlyAccountFiles(path) || platform::removeDirectoryTree(path));
            });
        }
    }

    CheckRun& run_;
    Engine& engine_;
};

}  // namespace

void checkMirrors(CheckRun& run) {
    MirrorsCheck(run).run();
}

}  // namespace groupware
