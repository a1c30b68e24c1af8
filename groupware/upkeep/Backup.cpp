#include "groupware/upkeep/Backup.h"

#include <array>
#include <fstream>
#include <vector>

#include "groupware/engine/Names.h"
#include "groupware/mail/Spool.h"
#include "groupware/upkeep/Archive.h"
#include "groupware/upkeep/Manifest.h"
#include "platform/Error.h"
#include "platform/Files.h"

namespace groupware {

namespace {

using platform::NameKind;

constexpr int kDeepestLevel = 40;
constexpr std::array kSettingsFiles = {"registry.ini", "Corvane.ini", "UserSettings.ini",
                                       "Domains.ini", "Webstrand"};

/// A file of the backup.
struct Source {
    std::string name;  ///< in the archive
    std::string path;
    std::string bytes;  ///< when they have been read already
    bool isRead = false;
};

/// What the mirror makes from the database, and what belongs to programs that run just now.
bool isLeftOut(const std::string& name) {
    for (const ItemKind kind : {ItemKind::kEvent, ItemKind::kTask, ItemKind::kContact}) {
        if (equalsIgnoringCase(name, markerName(kind))) return true;
    }
    return name == "mirror.lock" || name == Spool::kLockName || platform::isTemporaryName(name);
}

/// Links are followed where an administrator may have set one, at the top, and nowhere else.
NameKind kindOf(const std::string& path, int level) {
    const NameKind kind = platform::kindOf(path);
    if (kind != NameKind::kLink || level > 0) return kind;
    if (platform::directoryExists(path)) return NameKind::kDirectory;
    return platform::fileExists(path) ? NameKind::kFile : NameKind::kNothing;
}

void addBelow(const std::string& name, const std::string& path, int level,
              std::vector<Source>& sources) {
    const NameKind kind = kindOf(path, level);
    if (kind == NameKind::kFile) sources.push_back({name, path, {}, false});
    if (kind != NameKind::kDirectory || level > kDeepestLevel) return;
    for (const std::string& each : platform::listDirectory(path)) {
        if (isLeftOut(each)) continue;
        addBelow(name + "/" + each, path + "\\" + each, level + 1, sources);
    }
}

/// Settings are small, and of the moment in which nobody changes them.
std::vector<Source> settingsOf(const DataPaths& paths) {
    constexpr size_t kLargestSettings = size_t{16} * 1024 * 1024;
    std::vector<Source> sources;
    for (const char* name : kSettingsFiles) addBelow(name, paths.root + "\\" + name, 0, sources);
    for (Source& source : sources) {
        auto bytes = platform::readFile(source.path, kLargestSettings);
        if (!bytes) throw ArchiveError("cannot read " + platform::nativePath(source.path));
        source.bytes = std::move(*bytes);
        source.isRead = true;
    }
    return sources;
}

/// Removed again when all is done, or is not.
class TemporaryCopy {
  public:
    explicit TemporaryCopy(std::string_view beside) : path_(platform::temporaryName(beside)) {}
    ~TemporaryCopy() {
        for (const char* ending : {"", "-wal", "-shm", "-journal"}) {
            platform::removeFile(path_ + ending);
        }
    }
    TemporaryCopy(const TemporaryCopy&) = delete;
    TemporaryCopy& operator=(const TemporaryCopy&) = delete;

    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

/// Fills the archive and keeps the list of what is in it.
class BackupWriter {
  public:
    BackupWriter(ArchiveWriter::Sink sink, const StageCall& progress)
        : archive_(std::move(sink)), progress_(progress) {}

    void add(const Source& source) {
        if (source.isRead) {
            addBytes(source.name, source.bytes);
        } else {
            addFile(source.name, source.path);
        }
    }

    void addBytes(const std::string& name, std::string_view bytes) {
        archive_.begin(name, bytes.size());
        archive_.write(bytes);
        Digest digest;
        digest.add(bytes);
        manifest_.digests[name] = digest.hexadecimal();
    }

    void finish(const std::string& root) {
        manifest_.root = root;
        const std::string text = manifest_.text();
        archive_.begin(kManifestName, text.size());
        archive_.write(text);
        archive_.finish();
    }

  private:
    /// As many bytes as it had at first. What is gone by now is left out.
    void addFile(const std::string& name, const std::string& path) {
        std::ifstream file(platform::nativePath(path), std::ios::binary);
        const auto stamp = platform::fileStamp(path);
        if (!file && !platform::fileExists(path)) return;
        if (!file || !stamp) throw ArchiveError("cannot read " + platform::nativePath(path));
        const auto size = static_cast<uint64_t>(stamp->size);
        archive_.begin(name, size);
        Digest digest;
        std::vector<char> piece(size_t{256} * 1024);
        for (uint64_t done = 0; done < size;) {
            const uint64_t wanted = std::min<uint64_t>(piece.size(), size - done);
            file.read(piece.data(), static_cast<std::streamsize>(wanted));
            const auto count = static_cast<size_t>(file.gcount());
            if (count == 0) throw ArchiveError("cannot read all of " + platform::nativePath(path));
            archive_.write({piece.data(), count});
            digest.add({piece.data(), count});
            done += count;
            if (progress_) progress_("writing " + name, done, size);
        }
        manifest_.digests[name] = digest.hexadecimal();
    }

    ArchiveWriter archive_;
    const StageCall& progress_;
    Manifest manifest_;
};

/// Messages that wait to be sent. One that a sender renames while it is looked for would be missed.
void addSpool(const DataPaths& paths, BackupWriter& writer) {
    constexpr std::chrono::seconds kLongestWait{5};
    const Spool spool(paths.root);
    const auto pause = spool.tryLock(kLongestWait);
    std::vector<Source> sources;
    addBelow("Spool", spool.directory(), 0, sources);
    for (const Source& source : sources) writer.add(source);
}

void writeBackup(Engine& engine, std::string_view file, platform::NewFile& target,
                 const StageCall& progress) {
    const DataPaths& paths = engine.paths();
    std::vector<Source> sources;
    std::unique_ptr<DatabaseSnapshot> snapshot;
    {
        const auto turn = engine.database().begin();  // nobody changes anything meanwhile
        snapshot = engine.database().snapshot();
        sources = settingsOf(paths);
    }
    BackupWriter writer([&](std::string_view bytes) { return target.write(bytes); }, progress);
    addSpool(paths, writer);
    const TemporaryCopy copy(file);
    snapshot->copyTo(copy.path(), [&](uint64_t done, uint64_t total) {
        if (progress) progress("copying the database", done, total);
    });
    snapshot.reset();
    addBelow("Mail", paths.mail, 0, sources);
    addBelow("Public", engine.publicDirectory(), 0, sources);
    sources.push_back({"corvane.db", copy.path(), {}, false});

    for (const Source& source : sources) writer.add(source);
    writer.finish(paths.root);
}

std::string noBackup(const std::runtime_error& error) {
    return "no backup was made: " + std::string(error.what());
}

std::string cannotWrite(std::string_view file) {
    return "cannot write " + platform::nativePath(file) + ": " +
           platform::describeError(platform::lastError());
}

}  // namespace

Problem backUp(Engine& engine, std::string_view file, const StageCall& progress) {
    const std::string exists =
        platform::nativePath(file) + " exists already; choose another name for the backup";
    if (platform::kindOf(file) != NameKind::kNothing) return exists;
    const auto target = platform::NewFile::make(file, 0600);
    if (!target) return cannotWrite(file);
    try {
        writeBackup(engine, file, *target, progress);
    } catch (const ArchiveError& error) {
        return noBackup(error);
    } catch (const DatabaseError& error) {
        return noBackup(error);
    }
    if (target->place()) return std::nullopt;
    return platform::kindOf(file) != NameKind::kNothing ? exists : cannotWrite(file);
}

}  // namespace groupware
