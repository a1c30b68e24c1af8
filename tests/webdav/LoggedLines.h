// The process-wide log, running for one test into an installation of its own.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "tests/webdav/TestInstallation.h"
#include "webdav/log/LogThread.h"

class LoggedLines {
  public:
    explicit LoggedLines(const TestInstallation& product) : product_(product) {
        product_.setWebstrand("LogLevel", "1");
        webdav::LogThread::Instance().Start();
    }
    ~LoggedLines() { webdav::LogThread::Instance().Stop(); }
    LoggedLines(const LoggedLines&) = delete;
    LoggedLines& operator=(const LoggedLines&) = delete;

    /// What has been logged since the last call, without times.
    std::vector<std::string> take() {
        webdav::LogThread::Instance().Stop();
        std::istringstream log(product_.log(".log"));
        std::vector<std::string> lines;
        for (std::string line; std::getline(log, line);)
            if (line.find("-----") == std::string::npos)
                lines.push_back(line.substr(line.find("] ") + 2));
        webdav::LogThread::Instance().Start();
        lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(taken_));
        taken_ += lines.size();
        for (std::string& line : lines)
            if (line.ends_with('\r')) line.pop_back();
        return lines;
    }

  private:
    const TestInstallation& product_;
    size_t taken_ = 0;
};
