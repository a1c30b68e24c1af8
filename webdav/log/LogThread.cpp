#include "webdav/log/LogThread.h"

#include <utility>

#include "webdav/base/CStr.h"
#include "webdav/base/INIFile.h"
#include "webdav/base/Settings.h"
#include "webdav/log/Log.h"

namespace webdav {

namespace {

constexpr uint32_t kWaitMs = 1000;
constexpr uint32_t kStopWaitMs = 20'000;
constexpr uint32_t kIdleTicksBetweenReads = 5;

constexpr const char* kLevelNames[] = {"",      "DEBUG",    "INFO",  "WARNING",
                                       "ERROR", "CRITICAL", "STATUS"};

std::string levelName(int level) {
    return level >= kLogDebug && level <= kLogStatus ? kLevelNames[level] : "";
}

/// "DailyLogs" leads to the mode of files per weekday and "LogByDay" to that of files per date.
const char* readModeName(const CINIFile& logs) {
    const char* name = "";
    if (logs.ReadBool("SingleLog", false) || logs.ReadBool("NoLogs", false)) name = "None";
    if (logs.ReadBool("DailyLogs", false)) name = "DAILY";
    if (logs.ReadBool("LogByDay", false)) name = "DAY";
    return name;
}

int32_t readMinLevel() {
    CINIFile settings;
    settings.path = WebstrandIniPath();
    settings.section = "WebDAV";
    return settings.ReadInt("LogLevel", kLogInfo);
}

}  // namespace

LogThread& LogThread::Instance() {
    static LogThread instance;
    return instance;
}

LogThread::LogThread() : minLevel_(kLogInfo) {
    SetWaitTimeout(kWaitMs);
    AddWaitHandle(queued_);
    Configure();
}

LogThread::~LogThread() {
    if (IsRunning()) Stop();
}

bool LogThread::Start() {
    Configure();
    return CThread::Start();
}

void LogThread::Stop() {
    OnSignal(0);
    CThread::Stop(kStopWaitMs);
}

void LogThread::Configure() {
    const CSingleCrit writing(writer_);
    const std::string directory = LogDirectory();
    CINIFile logs;
    logs.path = ReadRegistryString("IniPath");
    logs.section = "Logs";
    minLevel_ = readMinLevel();
    writer_.Configure(directory, logs.ReadInt("ServerLog", 0), readModeName(logs));
}

void LogThread::Add(int level, std::string_view tag, std::string_view message) {
    if (!Wants(level)) return;
    std::string line = levelName(level) + ", ";
    if (!tag.empty()) line.append("[").append(tag).append("] ");
    line += message;

    const CSingleCrit lock(queueLock_);
    if (queue_.size() >= kMaxQueuedLines || queuedBytes_ + line.size() > kMaxQueuedBytes) {
        ++dropped_;
        return;
    }
    Queue(std::move(line));
}

void LogThread::Queue(std::string line) {
    queuedBytes_ += line.size();
    queue_.push_back({std::move(line), platform::nowUtcMs() / 1000});
    queued_.set();
}

std::optional<LogThread::Entry> LogThread::TakeFront() {
    const CSingleCrit lock(queueLock_);
    if (queue_.empty()) return std::nullopt;
    Entry entry = std::move(queue_.front());
    queue_.pop_front();
    queuedBytes_ -= entry.line.size();
    if (!queue_.empty()) return entry;
    queued_.reset();
    if (const size_t dropped = std::exchange(dropped_, 0); dropped > 0)
        Queue(FormatText("WARNING, The log queue was full: %zu lines were dropped", dropped));
    return entry;
}

bool LogThread::WriteNext() {
    // Whoever takes an entry writes it before the next one is taken, or their order would be lost.
    const CSingleCrit writing(writer_);
    const std::optional<Entry> entry = TakeFront();
    if (entry) writer_.WriteEntry(entry->line, entry->time);
    return entry.has_value();
}

void LogThread::OnSignal(size_t) {
    WriteNext();
}

void LogThread::OnTimeout() {
    const CSingleCrit writing(writer_);
    writer_.Flush();
    if (++idleTicks_ <= kIdleTicksBetweenReads) return;
    Configure();
    writer_.Open();
    idleTicks_ = 0;
}

void LogThread::OnExit() {
    while (WriteNext()) {
    }
}

}  // namespace webdav
