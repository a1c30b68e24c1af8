#include <algorithm>
#include <array>
#include <functional>
#include <optional>

#include "groupware/engine/DataDirectory.h"
#include "groupware/engine/Names.h"
#include "groupware/upkeep/Archive.h"
#include "groupware/upkeep/Backup.h"
#include "groupware/upkeep/Manifest.h"
#include "platform/Error.h"
#include "platform/Files.h"

namespace groupware {

namespace {

constexpr const char* kDatabaseName = "corvane.db";
constexpr std::array kTopNames = {"registry.ini", "Corvane.ini", "UserSettings.ini",
                                  "Domains.ini",  "Webstrand",   "Mail",
                                  "Public",       "Spool",       kDatabaseName};
constexpr std::array kSettingsFiles = {"\\registry.ini", "\\Corvane.ini", "\\UserSettings.ini",
                                       "\\Domains.ini", "\\Webstrand\\Webstrand.ini"};

bool isExpected(std::string_view name) {
    const std::string_view top = name.substr(0, name.find('/'));
    return std::ranges::find(kTopNames, top) != kTopNames.end();
}

/// Whether the directory holds nothing but what a restore that was broken off has left.
bool isUnfinished(const DataPaths& paths, const std::vector<std::string>& names) {
    const auto directories = directoriesOf(paths);
    const auto isOurs = [&](const std::string& name) {
        return name == kRestoringName || isExpected(name) || name.starts_with("corvane.") ||
               std::ranges::count(directories, paths.root + "\\" + name) > 0;
    };
    return std::ranges::count(names, kRestoringName) > 0 && std::ranges::all_of(names, isOurs) &&
           !platform::fileExists(paths.database);
}

Problem problemOfTarget(const DataPaths& paths) {
    if (auto problem = problemOfRoot(paths)) return problem;
    auto names = platform::listDirectory(paths.root);
    std::erase(names, MakingLock::kName);
    const bool isFree = platform::directoryExists(paths.root)
                            ? names.empty() || isUnfinished(paths, names)
                            : platform::kindOf(paths.root) == platform::NameKind::kNothing;
    if (isFree) return std::nullopt;
    return platform::nativePath(paths.root) +
           " is there already; restore to a directory that is not, or is empty";
}

/// Where all is put together: a directory within the one that it becomes, whose files go up into
/// that in the end, the database last. What is half done is removed, by the next restore if need
/// be.
class Staging {
  public:
    explicit Staging(const DataPaths& target)
        : target_(target),
          paths_(DataPaths::below(target.root + "\\" + kRestoringName)),
          madeRoot_(!platform::directoryExists(target.root)) {}
    ~Staging() {
        if (!isOurs_) return;
        if (!placed_) clear();
        platform::removeDirectoryTree(paths_.root);
        lock_.reset();
        const bool isEmpty = platform::listDirectory(target_.root).empty();
        if (madeRoot_ && isEmpty) platform::removeDirectoryTree(target_.root);
    }
    Staging(const Staging&) = delete;
    Staging& operator=(const Staging&) = delete;

    const DataPaths& paths() const { return paths_; }

    Problem make() {
        if (!platform::createDirectories(target_.root)) return cannotMake(target_.root);
        lock_.emplace(target_);
        // Whoever waited here for another one finds a data directory.
        if (auto problem = problemOfTarget(target_)) return problem;
        isOurs_ = true;
        clear();
        platform::removeDirectoryTree(paths_.root);
        if (!platform::createDirectories(paths_.root)) return cannotMake(paths_.root);
        return std::nullopt;
    }

    Problem place() {
        const auto goesLast = [](const std::string& name) { return name == kDatabaseName; };
        auto names = platform::listDirectory(paths_.root);
        std::ranges::partition(names, std::not_fn(goesLast));
        for (const std::string& name : names) {
            const std::string to = target_.root + "\\" + name;
            const bool synced = !goesLast(name) || platform::syncFileSystem(target_.root);
            if (!synced || !platform::renameFile(paths_.root + "\\" + name, to)) {
                return cannotMake(to);
            }
        }
        placed_ = platform::syncFileSystem(target_.root);
        return placed_ ? std::nullopt : cannotMake(target_.root);
    }

  private:
    static Problem cannotMake(const std::string& path) {
        return "cannot make " + platform::nativePath(path) + ": " +
               platform::describeError(platform::lastError());
    }

    /// Removes what a restore that was broken off has put in its place already.
    void clear() {
        for (const std::string& name : platform::listDirectory(target_.root)) {
            if (name == kRestoringName || name == MakingLock::kName) continue;
            const std::string path = target_.root + "\\" + name;
            if (!platform::removeDirectoryTree(path)) platform::removeFile(path);
        }
    }

    DataPaths target_;
    DataPaths paths_;
    bool madeRoot_;
    bool isOurs_ = false;
    bool placed_ = false;
    std::optional<MakingLock> lock_;
};

/// The database's password hashes and the folders' access tokens are for the owner alone.
unsigned modeOf(std::string_view name) {
    return name.ends_with(".mrk") || name == kDatabaseName ? 0600 : 0640;
}

/// Takes the files out of the archive, and tells by its manifest whether they are all there and as
/// they were.
class Extraction {
  public:
    Extraction(std::string_view file, const DataPaths& paths, const StageCall& progress)
        : reader_(file), root_(paths.root), progress_(progress) {
        if (const auto stamp = platform::fileStamp(file)) {
            total_ = static_cast<uint64_t>(stamp->size);
        }
    }

    Manifest run() {
        std::string name;
        while (reader_.next(name)) {
            if (name == kManifestName) return verified(readManifest());
            if (!isExpected(name)) throw ArchiveError(name + " is no part of a backup");
            if (!seen_.emplace(name, extract(name)).second) {
                throw ArchiveError("it holds " + name + " twice");
            }
        }
        throw ArchiveError("its end is missing");
    }

  private:
    std::string readManifest() {
        std::string text;
        for (auto bytes = reader_.read(); !bytes.empty(); bytes = reader_.read()) {
            text += bytes;
            if (text.size() > kLargestManifest) throw ArchiveError("its list of files is too long");
        }
        return text;
    }

    Manifest verified(const std::string& text) {
        const auto manifest = Manifest::parse(text);
        if (!manifest) throw ArchiveError("it holds no list of its files");
        if (manifest->digests != seen_ || !seen_.contains(kDatabaseName)) {
            throw ArchiveError("its files are not those of the backup");
        }
        return *manifest;
    }

    /// The digest of what has been written.
    std::string extract(const std::string& name) {
        std::string path = root_ + "\\" + name;
        std::ranges::replace(path, '/', '\\');
        platform::createDirectories(path.substr(0, path.rfind('\\')));
        const auto file = platform::AppendFile::open(path, modeOf(name), true);
        bool written = file != nullptr;
        Digest digest;
        for (auto bytes = reader_.read(); written && !bytes.empty(); bytes = reader_.read()) {
            digest.add(bytes);
            written = file->write(bytes);
            if (progress_) progress_("reading", reader_.position(), total_);
        }
        if (!written || !file->close()) {
            throw ArchiveError("cannot write " + platform::nativePath(path) + ": " +
                               platform::describeError(platform::lastError()));
        }
        return digest.hexadecimal();
    }

    ArchiveReader reader_;
    std::string root_;
    const StageCall& progress_;
    uint64_t total_ = 0;
    decltype(Manifest::digests) seen_;
};

/// The settings with every value that lies in the former directory moved to the new one.
std::string relocated(std::string_view text, std::string_view from, std::string_view to) {
    constexpr std::string_view kEnds = "\\\"\r";
    std::string moved;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end);
        const size_t value = line.find_first_not_of(" \t\"", std::min(line.find('='), end - 1) + 1);
        const bool names = value < end && line.substr(value).starts_with(from);
        const size_t rest = names ? value + from.size() : 0;
        if (names && (rest == end || line[rest] == '\n' || kEnds.find(line[rest]) != kEnds.npos)) {
            moved.append(line.substr(0, value)).append(to).append(line.substr(rest));
        } else {
            moved.append(line);
        }
    }
    return moved;
}

Problem relocateSettings(const DataPaths& staged, const std::string& from, const DataPaths& to) {
    constexpr size_t kLargestSettings = size_t{16} * 1024 * 1024;
    for (const char* name : kSettingsFiles) {
        const std::string path = staged.root + name;
        const auto text = platform::readFile(path, kLargestSettings);
        if (text && !platform::replaceFile(path, relocated(*text, from, to.root))) {
            return "cannot write " + platform::nativePath(path);
        }
    }
    // Whatever the backup says of them: where programs and data are is not its to tell.
    auto places = firstSettings(to, "");
    std::erase_if(places, [](const Setting& setting) { return !setting.isPlace; });
    places.push_back({to.mainSettings, "Directories", "PublicFolders", to.publicFolders});
    for (Setting& setting : places) setting.file.replace(0, to.root.size(), staged.root);
    return writeSettings(places);
}

/// Opens the database, which upgrades one of a former version, and makes what it tells anew.
void makeMirrors(const DataPaths& staged, const StageCall& progress) {
    Engine engine(staged);
    const auto accounts = engine.database().accounts();
    engine.refreshMirror(kPublicAccount);
    for (size_t i = 0; i < accounts.size(); ++i) {
        if (progress) progress("making directories", i, accounts.size());
        engine.refreshMirror(accounts[i].id);
    }
}

}  // namespace

Problem restoreBackup(std::string_view file, const DataPaths& paths,
                      std::string_view libraryDirectory, const StageCall& progress) {
    if (auto problem = problemOfTarget(paths)) return problem;
    if (!platform::fileExists(file)) return "there is no file " + platform::nativePath(file);
    Staging staging(paths);
    if (auto problem = staging.make()) return problem;
    try {
        const Manifest manifest = Extraction(file, staging.paths(), progress).run();
        auto problem = makeDirectories(staging.paths());
        if (!problem) problem = relocateSettings(staging.paths(), manifest.root, staging.paths());
        if (!problem) problem = linkLibraries(staging.paths(), libraryDirectory);
        if (problem) return problem;
        makeMirrors(staging.paths(), progress);
        problem = relocateSettings(staging.paths(), staging.paths().root, paths);
        if (problem) return problem;
    } catch (const ArchiveError& error) {
        return platform::nativePath(file) + " cannot be restored: " + error.what();
    }
    return staging.place();
}

}  // namespace groupware
