// The process-wide log, running for one test into an installation of its own.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/webdav/TestInstallation.h"
#include "webdav/log/LogThread.h"

/// The lines of a log file without times and banners; each must end as lines do.
inline std::vector<std::string> messagesOf(const std::string& log) {
    std::vector<std::string> lines;
    std::istringstream in(log);
    for (std::string line; std::getline(in, line);) {
        EXPECT_TRUE(line.ends_with('\r')) << line;
        const size_t start = line.find("] ") + 2;
        if (line.find("-----") == std::string::npos)
            lines.push_back(line.substr(start, line.size() - start - 1));
    }
    return lines;
}

class LoggedLines {
  public:
    explicit LoggedLines(const TestInstallation& product) : product_(product) {
        product_.setWebstrand("LogLevel", "1");
        webdav::LogThread::Instance().Start();
    }
    ~LoggedLines() { webdav::LogThread::Instance().Stop(); }
    LoggedLines(const LoggedLines&) = delete;
    LoggedLines& operator=(const LoggedLines&) = delete;

    /// What has been logged since the last call.
    std::vector<std::string> take() {
        webdav::LogThread::Instance().Stop();
        std::vector<std::string> lines = messagesOf(product_.log(".log"));
        webdav::LogThread::Instance().Start();
        lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(taken_));
        taken_ += lines.size();
        return lines;
    }

  private:
    const TestInstallation& product_;
    size_t taken_ = 0;
};
