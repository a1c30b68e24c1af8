#include "webdav/log/LogWriter.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "webdav/base/CStr.h"
#include "webdav/base/INIFile.h"
#include "webdav/base/OrdinaryBytes.h"
#include "webdav/base/Settings.h"
#include "webdav/base/Text.h"

namespace webdav {

namespace {

constexpr size_t kMaxPending = size_t{256} * 1024;
constexpr const char* kModuleName = "CVWebDAV";
constexpr const char* kLogName = "WebDAV";
constexpr const char* kSemaphoreFile = "\\WebDAVLogLocked.sem";
constexpr std::array<const char*, 7> kWeekdays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                  "Thursday", "Friday", "Saturday"};

/// The text up to the last "." of it.
std::string_view withoutExtension(std::string_view name) {
    return name.substr(0, name.rfind('.'));
}

std::string_view baseNameOf(std::string_view path) {
    const size_t backslash = path.rfind('\\');
    return withoutExtension(backslash == std::string_view::npos ? path
                                                                : path.substr(backslash + 1));
}

/// "[Fri 2017-05-19 14:03:07] ", whatever the language of the machine.
std::string timeStamp(int64_t time) {
    const platform::DateTime local = platform::localFromMs(time * 1000);
    return FormatText("[%.3s %04d-%02d-%02d %02d:%02d:%02d] ", kWeekdays[local.dayOfWeek],
                      local.year, local.month, local.day, local.hour, local.minute, local.second);
}

/// The bytes of the character at the start of the text when it could end a line or steer a
/// terminal, else 0: the controls of ASCII and of Unicode (U+0080 to U+009F), its line separators.
size_t controlLength(std::string_view text) {
    const auto byte = [&](size_t at) {
        return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
    };
    if (byte(0) < 0x20 || byte(0) == 0x7F) return 1;
    if (byte(0) == 0xC2 && byte(1) >= 0x80 && byte(1) <= 0x9F) return 2;
    return text.starts_with("\xE2\x80\xA8") || text.starts_with("\xE2\x80\xA9") ? 3 : 0;
}

/// True for all but the printable characters of ASCII.
constexpr auto mayBeControl = [](uint8_t c) -> bool {
    return static_cast<uint8_t>(c - ' ') > 0x5E;
};

/// What follows that place is one line then.
void blankControls(std::string& text, size_t from) {
    const auto isPrintable = [](char c) { return !mayBeControl(static_cast<uint8_t>(c)); };
    from += ordinaryStart(std::string_view(text).substr(from), mayBeControl);
    auto at = text.begin() + static_cast<std::ptrdiff_t>(from);
    while ((at = std::find_if_not(at, text.end(), isPrintable)) != text.end()) {
        std::fill_n(at, controlLength({at, text.end()}), ' ');
        ++at;
    }
}

}  // namespace

LogWriter::LogWriter(Clock clock) : clock_(std::move(clock)) {}

LogWriter::~LogWriter() {
    Close();
    if (configured_) DeleteSemaphore();
}

void LogWriter::Configure(const std::string& directory, int32_t maxKilobytes,
                          std::string_view modeName) {
    Mode mode = Mode::kSingleFile;
    if (modeName == "DAILY") mode = Mode::kFilePerWeekday;
    if (modeName == "DAY") mode = Mode::kFilePerDate;
    if (configured_ && (mode != mode_ || !EqualsNoCase(directory, directory_))) Close();
    directory_ = directory;
    mode_ = mode;
    maxSize_ = int64_t{maxKilobytes} * 1024;
    configured_ = true;
}

bool LogWriter::Open() {
    if (!configured_) return false;
    if (file_) {
        RotateIfDue();
        if (file_) return true;
    }
    NameFile();
    file_ = platform::AppendFile::open(fileName_);
    if (!file_) return false;
    AnnounceFile();
    WriteBanner("starting");
    return true;
}

void LogWriter::NameFile() {
    const platform::DateTime day = platform::localFromMs(clock_());
    switch (mode_) {
        case Mode::kSingleFile:
            // The name of the file before, whose mode may have been another; empty at first.
            fileName_ = directory_ + '\\' + std::string(baseNameOf(fileName_)) + ".log";
            return;
        case Mode::kFilePerWeekday:
            fileName_ =
                FormatText("%s\\%s-%s.log", directory_.c_str(), kWeekdays[day.dayOfWeek], kLogName);
            break;
        case Mode::kFilePerDate:
            fileName_ = FormatText("%s\\%s-%04d%02d%02d.log", directory_.c_str(), kLogName,
                                   day.year, day.month, day.day);
            break;
    }
    nextRotation_ =
        platform::msFromLocal(
            {.year = day.year, .month = day.month, .day = static_cast<uint16_t>(day.day + 1)}) /
        1000;
}

void LogWriter::AnnounceFile() const {
    constexpr const char* kKey = "LatestWebDAVLogFile";
    CINIFile settings;
    settings.path = WebstrandIniPath();
    settings.section = "Other";
    // A log rotated often shall not have the settings file written again and again.
    if (settings.path.empty() || settings.ReadString(kKey, "") == fileName_) return;
    settings.WriteString(kKey, fileName_);
}

void LogWriter::RotateIfDue() {
    if (mode_ == Mode::kSingleFile && maxSize_ <= 0) return;
    if (mode_ != Mode::kSingleFile && Now() >= nextRotation_) {
        WriteBanner("rotating");
        Close();
    } else if (maxSize_ > 0 && Length() >= maxSize_) {
        RotateBySize();
    } else if (Now() == semaphoreDeleted_) {
        // Looking for it may search a large directory: not for each line of a busy second. What is
        // put off is done at the next line after that second or when the log is idle.
        semaphoreDue_ = true;
        return;
    }
    DeleteSemaphore();
}

int64_t LogWriter::Length() const {
    return file_->length() + static_cast<int64_t>(pending_.size());
}

void LogWriter::RotateBySize() {
    sizeRotating_ = true;
    const std::string oldName = std::string(withoutExtension(fileName_)) + ".old";
    platform::removeFile(oldName);
    Close();
    if (!platform::renameFile(fileName_, oldName)) {
        // Writing goes on in the file that is too large; the next entry tries the rotation again.
        file_ = platform::AppendFile::open(fileName_);
        return;
    }
    sizeRotating_ = false;
    file_ = platform::AppendFile::open(oldName);
    WriteBanner("reached maximum size");
    Close();
}

void LogWriter::Close() {
    if (!sizeRotating_) WriteBanner("stopping");
    WriteOut();
    if (file_) file_->close();
    file_.reset();
}

void LogWriter::WriteBanner(const char* event) {
    if (!file_) return;
    AddLine(FormatText("----- %s %s Log file %s -----", kModuleName, CVWEBDAV_VERSION, event),
            Now());
    WriteOut();
}

void LogWriter::WriteEntries(std::span<const LogEntry> entries) {
    for (const LogEntry& entry : entries) {
        if (Open()) AddLine(entry.line, entry.time);
        if (pending_.size() >= kMaxPending) WriteOut();
    }
    WriteOut();
}

void LogWriter::AddLine(std::string_view line, int64_t time) {
    if (time != stampedTime_) {
        stamp_ = timeStamp(time);
        stampedTime_ = time;
    }
    const size_t begin = pending_.size();
    pending_ += stamp_;
    pending_ += line;
    blankControls(pending_, begin);
    pending_ += "\r\n";
}

void LogWriter::WriteOut() {
    if (file_ && !pending_.empty()) file_->write(pending_);
    pending_.clear();
}

void LogWriter::Flush() {
    if (file_) file_->flush();
    if (semaphoreDue_) DeleteSemaphore();
}

void LogWriter::DeleteSemaphore() {
    platform::removeFile(directory_ + kSemaphoreFile);
    semaphoreDeleted_ = Now();
    semaphoreDue_ = false;
}

}  // namespace webdav
