#include "tests/wire/WireStore.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "groupware/engine/AccessToken.h"
#include "groupware/engine/Accounts.h"
#include "groupware/engine/Sharing.h"
#include "groupware/items/Transfer.h"
#include "platform/DynamicLibrary.h"
#include "platform/Files.h"
#include "platform/PrivateProfile.h"
#include "platform/Registry.h"

namespace wire {

using groupware::ItemKind;
using groupware::UserFlag;

namespace {

/// Stands for the public folders in the place of an address.
constexpr std::string_view kPublicWord = "public";
constexpr size_t kLargestLog = size_t{64} * 1024 * 1024;

void require(const groupware::Problem& problem) {
    if (problem) throw WireError(*problem);
}

template <typename Value>
Value valueOf(const std::string& word, const std::map<std::string, Value>& values) {
    const auto found = values.find(word);
    if (found == values.end()) throw WireError("not known: " + word);
    return found->second;
}

const std::map<std::string, ItemKind> kKinds = {
    {"calendar", ItemKind::kEvent}, {"tasks", ItemKind::kTask}, {"contacts", ItemKind::kContact}};
const std::map<std::string, UserFlag> kFlags = {{"disabled", UserFlag::kDisabled},
                                                {"frozen", UserFlag::kFrozen},
                                                {"must-change", UserFlag::kMustChangePassword},
                                                {"freebusy", UserFlag::kPublishesBusyTime}};

/// 0 takes all rights away.
void grant(groupware::Engine& engine, const std::string& owner, const std::string& folder,
           const std::string& grantee, uint32_t rights) {
    if (owner == kPublicWord) {
        require(rights == 0 ? groupware::revokePublicFolder(engine, folder, grantee)
                            : groupware::grantPublicFolder(engine, folder, grantee, rights));
    } else {
        require(rights == 0 ? groupware::unshareFolder(engine, owner, folder, grantee)
                            : groupware::shareFolder(engine, owner, folder, grantee, rights));
    }
}

/// Events of one hour, one a day, with the UIDs event-0001 and so on.
std::string manyEvents(int count) {
    std::string text = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Test//EN\r\n";
    for (int i = 1; i <= count; ++i) {
        char event[256];
        std::snprintf(event, sizeof event,
                      "BEGIN:VEVENT\r\nUID:event-%04d\r\nDTSTAMP:20170101T000000Z\r\n"
                      "DTSTART:%04d%02d%02dT100000Z\r\nDTEND:%04d%02d%02dT110000Z\r\n"
                      "SUMMARY:Event %d\r\nEND:VEVENT\r\n",
                      i, 2017 + i / 336, i / 28 % 12 + 1, i % 28 + 1, 2017 + i / 336,
                      i / 28 % 12 + 1, i % 28 + 1, i);
        text += event;
    }
    return text + "END:VCALENDAR\r\n";
}

}  // namespace

WireStore::WireStore() {
    std::string native = (std::filesystem::temp_directory_path() / "wire-XXXXXX").string();
    if (mkdtemp(native.data()) == nullptr) throw WireError("cannot make " + native);
    paths_ = groupware::DataPaths::below(platform::fromNativePath(native));
    const std::string libraries = platform::libraryDirectory();
    require(groupware::initDataDirectory(paths_, "example.test", libraries));
    const std::string doubled = libraries + "StoreDouble.so";
    for (const char* name : {"\\bin\\CVUser.so", "\\bin\\CVCalendar.so"}) {
        if (!platform::linkFile(doubled, directory() + name)) throw WireError("cannot link it");
    }
    if (double_.load(doubled) != 0) throw WireError(double_.problem());
    platform::useRegistryFile(directory() + "\\registry.ini");
    platform::writeProfileText(directory() + "\\Webstrand\\Webstrand.ini", "WebDAV", "LogLevel",
                               "1");
    engine_ = std::make_unique<groupware::Engine>(paths_);
}

WireStore::~WireStore() {
    engine_.reset();
    platform::removeDirectoryTree(directory());
}

groupware::AccountRow WireStore::account(const std::string& address) {
    auto row = address == kPublicWord ? engine_->database().accountById(groupware::kPublicAccount)
                                      : engine_->database().account(address);
    if (!row) throw WireError("no account " + address);
    return *row;
}

groupware::FolderRow WireStore::folder(const std::string& address, const std::string& name) {
    auto row = engine_->database().folder(account(address).id, name);
    if (!row) throw WireError("no folder " + name + " of " + address);
    return *row;
}

void WireStore::importText(const std::string& address, const std::string& name,
                           const std::string& text) {
    const auto counts = groupware::importItems(*engine_, folder(address, name), text);
    if (counts.failed > 0 || counts.imported == 0) {
        throw WireError("the items cannot be imported: " + counts.firstProblem);
    }
}

std::string WireStore::accessToken(const std::string& address, const std::string& name) {
    std::string token;
    require(groupware::makeAccessToken(*engine_, account(address), name, token));
    return token;
}

bool WireStore::run(const Command& command) {
    const auto& words = command.words;
    const auto is = [&words](const char* name, size_t arguments) {
        return words[0] == name && words.size() == arguments + 1;
    };
    const auto file = [this](std::string name) {
        std::ranges::replace(name, '/', '\\');
        return directory() + "\\" + name;
    };
    if (is("domain", 1)) {
        require(groupware::addDomain(*engine_, words[1]));
    } else if (is("account", 3)) {
        require(groupware::addUser(*engine_, words[1], words[3], words[2]));
    } else if (is("alias", 2)) {
        require(groupware::addAlias(*engine_, words[1], words[2]));
    } else if (is("flag", 3)) {
        require(groupware::setUserFlag(*engine_, words[1], valueOf(words[2], kFlags),
                                       words[3] == "on"));
    } else if (is("folder", 3)) {
        const ItemKind kind = valueOf(words[2], kKinds);
        require(words[1] == kPublicWord ? groupware::addPublicFolder(*engine_, kind, words[3])
                                        : groupware::addFolder(*engine_, words[1], kind, words[3]));
    } else if (is("grant", 4)) {
        grant(*engine_, words[1], words[2], words[3], static_cast<uint32_t>(std::stoul(words[4])));
    } else if (is("item", 2)) {
        importText(words[1], words[2], command.text);
    } else if (is("events", 3)) {
        importText(words[1], words[2], manyEvents(std::stoi(words[3])));
    } else if (is("setting", 4)) {
        platform::writeProfileText(file(words[1]), words[2], words[3], words[4]);
    } else if (is("file", 1)) {
        platform::replaceFile(file(words[1]), command.text);
    } else {
        return false;
    }
    return true;
}

std::string WireStore::onlyMessage(const std::string& address) {
    auto names = platform::listDirectory(engine_->mailDirectory(account(address)));
    std::erase_if(names, [](const std::string& name) { return !name.ends_with(".eml"); });
    if (names.size() != 1)
        throw WireError(std::to_string(names.size()) + " messages for " + address);
    return names[0];
}

std::string WireStore::readLog() const {
    const std::string file = platform::readProfileText(directory() + "\\Webstrand\\Webstrand.ini",
                                                       "Other", "LatestWebDAVLogFile", "", 1024);
    return platform::readFile(file, kLargestLog).value_or("");
}

}  // namespace wire
