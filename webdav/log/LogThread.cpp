#include "webdav/log/LogThread.h"

#include <chrono>
#include <thread>
#include <utility>

#include "webdav/base/CStr.h"
#include "webdav/base/INIFile.h"
#include "webdav/base/Settings.h"
#include "webdav/log/Log.h"

namespace webdav {

namespace {

constexpr uint32_t kWaitMs = 1000;
constexpr std::chrono::milliseconds kGatherTime{10};
constexpr uint32_t kStopWaitMs = 20'000;
constexpr uint32_t kIdleTicksBetweenReads = 5;
constexpr size_t kUsualLine = 144;

constexpr const char* kLevelNames[] = {"",      "DEBUG",    "INFO",  "WARNING",
                                       "ERROR", "CRITICAL", "STATUS"};

std::string_view levelName(int level) {
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
    WriteQueued();
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

std::string LogThread::LineStart(int level, std::string_view tag) {
    std::string line;
    line.reserve(kUsualLine);
    line.append(levelName(level)).append(", ");
    if (!tag.empty()) line.append("[").append(tag).append("] ");
    return line;
}

void LogThread::Add(int level, std::string_view tag, std::string_view message) {
    if (Wants(level)) Queue(LineStart(level, tag).append(message));
}

void LogThread::Queue(std::string line) {
    const CSingleCrit lock(queueLock_);
    if (queue_.size() >= kMaxQueuedLines || queuedBytes_ + line.size() > kMaxQueuedBytes) {
        ++dropped_;
        return;
    }
    queuedBytes_ += line.size();
    queue_.push_back({std::move(line), platform::nowUtcMs() / 1000});
    if (queue_.size() == 1) queued_.set();
}

std::vector<LogEntry> LogThread::TakeQueued() {
    const CSingleCrit lock(queueLock_);
    std::vector<LogEntry> entries = std::move(queue_);
    queue_.clear();
    queuedBytes_ = 0;
    queued_.reset();
    if (const size_t dropped = std::exchange(dropped_, 0); dropped > 0) {
        entries.push_back(
            {FormatText("WARNING, The log queue was full: %zu lines were dropped", dropped),
             platform::nowUtcMs() / 1000});
    }
    return entries;
}

void LogThread::WriteQueued() {
    // Whoever takes entries writes them before others are taken, or their order would be lost.
    const CSingleCrit writing(writer_);
    writer_.WriteEntries(TakeQueued());
}

void LogThread::OnSignal(size_t) {
    // A request logs several lines: to be woken once for all that come together costs less.
    std::this_thread::sleep_for(kGatherTime);
    WriteQueued();
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
    WriteQueued();
}

}  // namespace webdav
