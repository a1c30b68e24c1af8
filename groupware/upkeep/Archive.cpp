#include "groupware/upkeep/Archive.h"

#include <cerrno>

#include <archive.h>
#include <archive_entry.h>

#include "platform/Error.h"
#include "platform/Files.h"

namespace groupware {

namespace {

constexpr size_t kPieceBytes = size_t{256} * 1024;
constexpr size_t kLongestName = 1024;
constexpr unsigned kFileMode = 0600;

la_ssize_t giveToSink(archive* file, void* sink, const void* bytes, size_t size) {
    const std::string_view text(static_cast<const char*>(bytes), size);
    if ((*static_cast<ArchiveWriter::Sink*>(sink))(text)) return static_cast<la_ssize_t>(size);
    const std::string reason = platform::describeError(platform::lastError());
    archive_set_error(file, EIO, "the file cannot be written: %s", reason.c_str());
    return -1;
}

[[noreturn]] void raise(archive* file) {
    const char* text = archive_error_string(file);
    throw ArchiveError(text ? text : "out of memory");
}

/// Relative, and nothing in it that leads up or anywhere else.
bool isSafeName(std::string_view name) {
    if (name.size() > kLongestName) return false;
    for (;;) {
        const size_t end = name.find('/');
        if (!platform::isPlainName(name.substr(0, end))) return false;
        if (end == std::string_view::npos) return true;
        name.remove_prefix(end + 1);
    }
}

}  // namespace

void ArchiveWriter::Free::operator()(archive* file) const {
    archive_write_free(file);
}

ArchiveWriter::ArchiveWriter(Sink sink) : sink_(std::move(sink)), archive_(archive_write_new()) {
    archive* file = archive_.get();
    check(file ? ARCHIVE_OK : ARCHIVE_FATAL);
    check(archive_write_set_format_gnutar(file));  // names as they are, whatever the locale
    check(archive_write_add_filter_zstd(file));
    check(archive_write_set_bytes_in_last_block(file, 1));
    check(archive_write_open(file, &sink_, nullptr, giveToSink, nullptr));
}

void ArchiveWriter::begin(const std::string& name, uint64_t size) {
    struct FreeEntry {
        void operator()(archive_entry* entry) const { archive_entry_free(entry); }
    };
    const std::unique_ptr<archive_entry, FreeEntry> entry(archive_entry_new());
    archive_entry_set_pathname(entry.get(), name.c_str());
    archive_entry_set_size(entry.get(), static_cast<la_int64_t>(size));
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), kFileMode);
    check(archive_write_header(archive_.get(), entry.get()));
}

void ArchiveWriter::write(std::string_view bytes) {
    while (!bytes.empty()) {
        const la_ssize_t written = archive_write_data(archive_.get(), bytes.data(), bytes.size());
        check(written);
        if (written == 0) throw ArchiveError("more was written than announced");
        bytes.remove_prefix(static_cast<size_t>(written));
    }
}

void ArchiveWriter::finish() {
    check(archive_write_close(archive_.get()));
}

void ArchiveWriter::check(int64_t result) {
    if (result < ARCHIVE_OK) raise(archive_.get());
}

void ArchiveReader::Free::operator()(archive* file) const {
    archive_read_free(file);
}

ArchiveReader::ArchiveReader(std::string_view path)
    : buffer_(kPieceBytes, '\0'), archive_(archive_read_new()) {
    archive* file = archive_.get();
    check(file ? ARCHIVE_OK : ARCHIVE_FATAL);
    check(archive_read_support_format_tar(file));
    check(archive_read_support_filter_zstd(file));
    check(archive_read_open_filename(file, platform::nativePath(path).c_str(), kPieceBytes));
}

bool ArchiveReader::next(std::string& name) {
    archive_entry* entry = nullptr;
    const int result = archive_read_next_header(archive_.get(), &entry);
    if (result == ARCHIVE_EOF) return false;
    check(result);
    const char* text = archive_entry_pathname(entry);
    name = text ? text : "";
    if (!isSafeName(name)) throw ArchiveError("it holds a file of a dangerous name");
    if (archive_entry_filetype(entry) != AE_IFREG || archive_entry_hardlink(entry) != nullptr) {
        throw ArchiveError(name + " in it is no plain file");
    }
    return true;
}

std::string_view ArchiveReader::read() {
    const la_ssize_t size = archive_read_data(archive_.get(), buffer_.data(), buffer_.size());
    check(size);
    return {buffer_.data(), static_cast<size_t>(size)};
}

uint64_t ArchiveReader::position() const {
    return static_cast<uint64_t>(archive_filter_bytes(archive_.get(), -1));
}

void ArchiveReader::check(int64_t result) {
    if (result < ARCHIVE_OK) raise(archive_.get());
}

}  // namespace groupware
