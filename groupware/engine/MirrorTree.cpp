#include "groupware/engine/MirrorTree.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "groupware/engine/Names.h"
#include "platform/Files.h"
#include "platform/LocalTime.h"
#include "platform/PrivateProfile.h"

namespace groupware {

namespace {

constexpr std::array kKinds = {ItemKind::kEvent, ItemKind::kTask, ItemKind::kContact};
constexpr const char* kAccountSettings = "WS\\User.ini";
constexpr const char* kClassFile = "\\hiwater.mrk";
constexpr const char* kClassSection = "GroupWare";
constexpr const char* kClassKey = "FolderClass";
constexpr const char* kTokenSection = "WebDAV";
constexpr const char* kTokenKey = "ReadonlyAccessToken";
constexpr size_t kMostClassBytes = 64;
constexpr size_t kMostTokenBytes = 2048;
constexpr size_t kMostMarkerBytes = 4096;
constexpr int kDeepestLevel = 32;

std::string inClassFile(const std::string& directory, const char* section, const char* key,
                        size_t mostBytes) {
    return platform::readProfileText(directory + kClassFile, section, key, "", mostBytes);
}

std::string classOf(const std::string& directory) {
    return inClassFile(directory, kClassSection, kClassKey, kMostClassBytes);
}

bool isClassed(const std::string& directory, const FolderRow& folder) {
    return classOf(directory) == folderClass(folder.kind);
}

/// Other keys of the file stay as they are.
bool setClass(const std::string& directory, const FolderRow& folder) {
    const std::string path = directory + kClassFile;
    // A file that the writing of a key itself made would be readable for others.
    if (!platform::fileExists(path)) {
        const std::string text = std::string("[") + kClassSection + "]\r\n" + kClassKey + "=" +
                                 folderClass(folder.kind) + "\r\n";
        return platform::replaceFile(path, text, 0600);
    }
    return platform::writeProfileText(path, kClassSection, kClassKey, folderClass(folder.kind));
}

bool isPrivate(const std::string& directory, const FolderRow& /*folder*/) {
    return platform::isPrivateFile(directory + kClassFile);
}

bool setPrivate(const std::string& directory, const FolderRow& /*folder*/) {
    return platform::makePrivate(directory + kClassFile);
}

bool hasToken(const std::string& directory, const FolderRow& folder) {
    return !folder.token || tokenIn(directory) == *folder.token;
}

bool setToken(const std::string& directory, const FolderRow& folder) {
    const std::string path = directory + kClassFile;
    const std::string token = folder.token.value_or("");
    return token.empty() ? platform::removeProfileKey(path, kTokenSection, kTokenKey)
                         : platform::writeProfileText(path, kTokenSection, kTokenKey, token);
}

std::string markerPath(const std::string& directory, const FolderRow& folder) {
    return directory + "\\" + markerName(folder.kind);
}

std::string markerText(const FolderRow& folder) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<folder lastModified=\"" +
           stampText(folder.stampMs) + "\"/>\r\n";
}

bool isMarked(const std::string& directory, const FolderRow& folder) {
    return platform::readFile(markerPath(directory, folder), kMostMarkerBytes) ==
           markerText(folder);
}

bool isThere(const std::string& directory, const FolderRow& /*folder*/) {
    return platform::directoryExists(directory);
}

bool makeThere(const std::string& directory, const FolderRow& /*folder*/) {
    return platform::createDirectories(directory);
}

/// What a folder's directory has to be like, in the order in which it is made so.
struct Aspect {
    const char* lacking;
    bool (*holds)(const std::string& directory, const FolderRow& folder);
    bool (*make)(const std::string& directory, const FolderRow& folder);
};
constexpr Aspect kAspects[] = {
    {"the directory is missing", isThere, makeThere},
    {"the class file tells another class", isClassed, setClass},
    {"others may read the class file", isPrivate, setPrivate},
    {"the class file tells another access token", hasToken, setToken},
    {"the change marker tells another stamp", isMarked, writeMarker},
};

bool isGroupwareFolder(const std::string& directory) {
    const std::string found = classOf(directory);
    return std::ranges::any_of(kKinds, [&](ItemKind kind) { return found == folderClass(kind); });
}

bool removeMarkers(const std::string& directory) {
    bool removed = platform::removeFile(directory + kClassFile);
    for (const ItemKind kind : kKinds) {
        const std::string path = directory + "\\" + markerName(kind);
        if (platform::fileExists(path)) removed = platform::removeFile(path) && removed;
    }
    return removed;
}

class StrangerSearch {
  public:
    StrangerSearch(const std::string& root, const std::set<std::string>& expected, bool remove)
        : root_(root), expected_(expected), remove_(remove) {}

    StrangerSearch& run() {
        visitBelow("", 0);
        return *this;
    }
    bool good() const { return good_; }
    std::vector<std::string> found() && { return std::move(found_); }

  private:
    /// The prefix is empty or ends in a backslash. True when a directory stays below it.
    bool visitBelow(const std::string& prefix, int level) {
        bool anyStays = false;
        for (const std::string& name : platform::listDirectory(root_ + prefix)) {
            if (!folderNameOf(name) || !platform::directoryExists(root_ + prefix + name)) continue;
            if (visit(prefix + name, level)) anyStays = true;
        }
        return anyStays;
    }

    bool visit(const std::string& name, int level) {
        const bool anyBelow = level >= kDeepestLevel || visitBelow(name + "\\", level + 1);
        const std::string directory = root_ + name;
        if (expected_.contains(lowerAscii(name)) || !isGroupwareFolder(directory)) return true;
        found_.push_back(directory);
        const bool removed = !remove_ || (anyBelow ? removeMarkers(directory)
                                                   : platform::removeDirectoryTree(directory));
        good_ = good_ && removed;
        return anyBelow || !removed;
    }

    const std::string& root_;
    const std::set<std::string>& expected_;
    bool remove_;
    bool good_ = true;
    std::vector<std::string> found_;
};

}  // namespace

bool ensureAccountFiles(const std::string& root) {
    const std::string settings = root + kAccountSettings;
    return platform::fileExists(settings) || (platform::createDirectories(root + "WS") &&
                                              platform::replaceFile(settings, "[User]\r\n"));
}

bool ensureFolder(const std::string& directory, const FolderRow& folder) {
    bool good = true;
    for (const Aspect& aspect : kAspects) {
        if (!aspect.holds(directory, folder)) good = aspect.make(directory, folder) && good;
    }
    return good;
}

bool writeMarker(const std::string& directory, const FolderRow& folder) {
    const std::string path = markerPath(directory, folder);
    const std::string text = markerText(folder);
    if (platform::overwriteFile(path, text) || platform::replaceFile(path, text)) return true;
    if (!platform::removeFile(path) && platform::fileExists(path)) {
        throw DatabaseError("cannot write or remove " + platform::nativePath(path), false);
    }
    return false;
}

bool removeStrangers(const std::string& root, const std::set<std::string>& expected) {
    return StrangerSearch(root, expected, true).run().good();
}

std::vector<std::string> accountDifferences(const std::string& root) {
    const std::string settings = root + kAccountSettings;
    if (platform::fileExists(settings)) return {};
    return {"there is no " + platform::nativePath(settings)};
}

std::vector<std::string> folderDifferences(const std::string& directory, const FolderRow& folder) {
    if (!isThere(directory, folder)) return {kAspects[0].lacking};
    std::vector<std::string> differences;
    for (const Aspect& aspect : kAspects) {
        if (!aspect.holds(directory, folder)) differences.emplace_back(aspect.lacking);
    }
    return differences;
}

std::vector<std::string> strangers(const std::string& root, const std::set<std::string>& expected) {
    return std::move(StrangerSearch(root, expected, false).run()).found();
}

std::string tokenIn(const std::string& directory) {
    return inClassFile(directory, kTokenSection, kTokenKey, kMostTokenBytes);
}

std::string stampText(int64_t stampMs) {
    const platform::DateTime t = platform::utcFromMs(stampMs);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", t.year, t.month,
                  t.day, t.hour, t.minute, t.second, t.milliseconds);
    return text.data();
}

}  // namespace groupware
