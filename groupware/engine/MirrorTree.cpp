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
constexpr const char* kClassFile = "\\hiwater.mrk";
constexpr size_t kMostClassBytes = 64;
constexpr size_t kMostMarkerBytes = 4096;
constexpr int kDeepestLevel = 32;

std::string classOf(const std::string& directory) {
    return platform::readProfileText(directory + kClassFile, "GroupWare", "FolderClass", "",
                                     kMostClassBytes);
}

/// Other keys of the file, such as a folder's access token, stay as they are.
bool ensureClass(const std::string& directory, const char* wanted) {
    const std::string path = directory + kClassFile;
    if (!platform::fileExists(path)) {
        const std::string text = std::string("[GroupWare]\r\nFolderClass=") + wanted + "\r\n";
        return platform::replaceFile(path, text, 0600);
    }
    return classOf(directory) == wanted ||
           platform::writeProfileText(path, "GroupWare", "FolderClass", wanted);
}

bool ensureMarker(const std::string& path, int64_t stampMs) {
    const std::string text =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<folder lastModified=\"" +
        stampText(stampMs) + "\"/>\r\n";
    if (platform::readFile(path, kMostMarkerBytes) == text) return true;
    if (platform::replaceFile(path, text)) return true;
    if (!platform::removeFile(path) && platform::fileExists(path)) {
        throw DatabaseError("cannot write or remove " + platform::nativePath(path), false);
    }
    return false;
}

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
    StrangerSearch(const std::string& root, const std::set<std::string>& expected)
        : root_(root), expected_(expected) {}

    bool run() {
        visitBelow("", 0);
        return good_;
    }

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
        const bool removed =
            anyBelow ? removeMarkers(directory) : platform::removeDirectoryTree(directory);
        good_ = good_ && removed;
        return anyBelow || !removed;
    }

    const std::string& root_;
    const std::set<std::string>& expected_;
    bool good_ = true;
};

}  // namespace

bool ensureAccountFiles(const std::string& root) {
    const std::string settings = root + "WS\\User.ini";
    return platform::fileExists(settings) || (platform::createDirectories(root + "WS") &&
                                              platform::replaceFile(settings, "[User]\r\n"));
}

bool ensureFolder(const std::string& directory, const FolderRow& folder) {
    const bool classed =
        platform::createDirectories(directory) && ensureClass(directory, folderClass(folder.kind));
    return ensureMarker(directory + "\\" + markerName(folder.kind), folder.stampMs) && classed;
}

bool removeStrangers(const std::string& root, const std::set<std::string>& expected) {
    return StrangerSearch(root, expected).run();
}

std::string stampText(int64_t stampMs) {
    const platform::DateTime t = platform::utcFromMs(stampMs);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", t.year, t.month,
                  t.day, t.hour, t.minute, t.second, t.milliseconds);
    return text.data();
}

}  // namespace groupware
