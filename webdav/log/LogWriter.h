// The log file: its name by the configured scheme, its rotation by day and size, its lines.
//
// The semaphore file in the log directory is made by other processes that share the directory; the
// writer deletes it. Used by the log thread and, at shut-down, by the thread that stops it. It is
// its own lock: every caller holds it around each operation. A file that cannot be opened loses the
// entry, the next one tries again. Other processes may write to the same file.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "platform/Files.h"
#include "platform/LocalTime.h"
#include "webdav/base/CriticalSection.h"

namespace webdav {

struct LogEntry {
    std::string line;
    int64_t time = 0;  ///< seconds since 1970-01-01T00:00:00Z
};

class LogWriter : public CCriticalSection {
  public:
    /// Milliseconds since 1970-01-01T00:00:00Z.
    using Clock = std::function<int64_t()>;

    explicit LogWriter(Clock clock = platform::nowUtcMs);
    ~LogWriter() override;

    /// Mode name: "DAILY" is one file per weekday, "DAY" one per date, anything else a single file.
    /// The open file is closed when these lead to another one. 0 kilobytes: no limit.
    void Configure(const std::string& directory, int32_t maxKilobytes, std::string_view modeName);

    /// Makes sure that the file to write to now is open, rotating it when it is time.
    bool Open();
    /// Opens the file and appends a line for each. Control characters become blanks, so that one
    /// entry is one line.
    void WriteEntries(std::span<const LogEntry> entries);
    /// For idle times.
    void Flush();

  private:
    enum class Mode { kSingleFile, kFilePerWeekday, kFilePerDate };

    int64_t Now() const { return clock_() / 1000; }
    void NameFile();
    void AnnounceFile() const;
    int64_t Length() const;
    void RotateIfDue();
    void RotateBySize();
    void Close();
    void WriteBanner(const char* event);
    void AddLine(std::string_view line, int64_t time);
    void WriteOut();
    void DeleteSemaphore();

    const Clock clock_;
    std::unique_ptr<platform::AppendFile> file_;
    std::string directory_;
    std::string fileName_;
    int64_t maxSize_ = 0;
    Mode mode_ = Mode::kSingleFile;
    bool configured_ = false;
    bool sizeRotating_ = false;
    std::string pending_;  // lines that are not yet in the file
    std::string stamp_;    // how the last time looks
    int64_t stampedTime_ = -1;
    int64_t nextRotation_ = 0;
    int64_t semaphoreDeleted_ = 0;
    bool semaphoreDue_ = false;
};

}  // namespace webdav
