#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/webdav/LoggedLines.h"
#include "webdav/log/Log.h"

namespace webdav {
namespace {

/// The log thread with its handlers in reach.
class OpenLogThread : public LogThread {
  public:
    using LogThread::OnExit;
    using LogThread::OnTimeout;
};

using Lines = std::vector<std::string>;

TEST(LogThread, LinesByLevelAndTag) {
    const TestInstallation product;
    LogThread& log = LogThread::Instance();
    ASSERT_TRUE(log.Start());
    Log(kLogDebug, nullptr, "below the level %d", 2);
    Log(kLogInfo, "TAG", "%s has %d", "two", 2);
    Log(kLogStatus, "", "no tag");
    Log(7, nullptr, "no name");
    log.Stop();
    EXPECT_EQ(messagesOf(product.log(".log")),
              (Lines{"INFO, [TAG] two has 2", "STATUS, no tag", ", no name"}));

    product.setWebstrand("LogLevel", "1");
    ASSERT_TRUE(log.Start());
    Log(kLogDebug, nullptr, "wanted now");
    log.Stop();
    EXPECT_EQ(messagesOf(product.log(".log")).back(), "DEBUG, wanted now");
}

TEST(LogThread, ManyThreadsWriteWhileTheFileRotates) {
    constexpr int kThreads = 8;
    constexpr int kLines = 400;
    const TestInstallation product;
    product.setMain("Logs", "DailyLogs", "Yes");
    product.setMain("Logs", "ServerLog", "400");
    OpenLogThread log;
    ASSERT_TRUE(log.Start());
    std::vector<std::thread> writers;
    for (int writer = 0; writer < kThreads; ++writer) {
        writers.emplace_back([&log, writer] {
            const std::string tag(1, static_cast<char>('A' + writer));
            for (int line = 0; line < kLines; ++line)
                log.Add(kLogInfo, tag, std::to_string(line) + std::string(150, 'x'));
        });
    }
    for (std::thread& writer : writers) writer.join();
    log.Stop();

    Lines lines;
    for (const char* ending : {".old", ".log"})
        for (const std::string& name : platform::listDirectory(product.logPath()))
            if (name.ends_with(ending)) {
                const Lines part = messagesOf(product.log(name));
                EXPECT_FALSE(part.empty());
                lines.insert(lines.end(), part.begin(), part.end());
            }
    EXPECT_EQ(lines.size(), size_t{kThreads} * kLines);
    std::vector<int> next(kThreads, 0);
    for (const std::string& line : lines) {
        const size_t writer = static_cast<size_t>(line.at(7) - 'A');
        EXPECT_EQ(line, "INFO, [" + std::string(1, line.at(7)) + "] " +
                            std::to_string(next.at(writer)++) + std::string(150, 'x'));
    }
}

TEST(LogThread, AFullQueueTellsWhatItDropped) {
    const TestInstallation product;
    OpenLogThread log;
    for (size_t line = 0; line < LogThread::kMaxQueuedLines + 5; ++line)
        log.Add(kLogError, "", std::to_string(line));
    log.OnExit();
    Lines lines = messagesOf(product.log(".log"));
    ASSERT_EQ(lines.size(), LogThread::kMaxQueuedLines + 1);
    EXPECT_EQ(lines.back(), "WARNING, The log queue was full: 5 lines were dropped");

    const std::string large(LogThread::kMaxQueuedBytes / 2, 'x');
    for (int line = 0; line < 3; ++line) log.Add(kLogError, "", large);
    log.OnExit();
    lines = messagesOf(product.log(".log"));
    EXPECT_EQ(lines.back(), "WARNING, The log queue was full: 2 lines were dropped");
}

TEST(LogThread, IdleTimeBringsNewSettings) {
    const TestInstallation product;
    OpenLogThread log;
    log.Add(kLogInfo, "", "before");
    log.OnExit();
    product.setMain("Directories", "LogFiles", product.logPath("Moved"));
    product.setWebstrand("LogLevel", "4");
    platform::createDirectories(product.logPath("Moved"));
    for (int tick = 0; tick < 5; ++tick) log.OnTimeout();
    EXPECT_TRUE(log.Wants(kLogInfo));
    EXPECT_FALSE(platform::fileExists(product.logPath("Moved\\.log")));
    log.OnTimeout();
    EXPECT_FALSE(log.Wants(kLogInfo));
    log.Add(kLogError, "", "after");
    log.OnExit();
    EXPECT_EQ(messagesOf(product.log("Moved\\.log")), (Lines{"ERROR, after"}));
    EXPECT_EQ(messagesOf(product.log(".log")), (Lines{"INFO, before"}));
}

}  // namespace
}  // namespace webdav
