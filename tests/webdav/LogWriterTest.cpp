#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "tests/webdav/TestInstallation.h"
#include "webdav/base/INIFile.h"
#include "webdav/log/LogWriter.h"

namespace webdav {
namespace {

constexpr size_t kStampSize = std::string_view("[Mon 2024-01-01 23:30:00] ").size();
constexpr int64_t kHour = 3600;
constexpr int64_t kDay = 24 * kHour;

/// The text of a log file without time stamps, banners as "<event>", "|" for the line ends.
std::string brief(const std::string& log) {
    constexpr std::string_view kBanner = "----- CVWebDAV " CVWEBDAV_VERSION " Log file ";
    std::string text;
    std::istringstream in(log);
    for (std::string line; std::getline(in, line);) {
        line = line.substr(kStampSize, line.size() - kStampSize - 1);
        const bool banner = line.starts_with(kBanner);
        if (banner) line = line.substr(kBanner.size(), line.size() - kBanner.size() - 6);
        text.append(banner ? "<" : "").append(line).append(banner ? ">|" : "|");
    }
    return text;
}

/// Writes with a clock of its own, in local time: Monday 2024-01-01 23:30 at first.
class LogWriterTest : public testing::Test {
  protected:
    void configure(const char* mode, int32_t kilobytes = 0) {
        writer_->Configure(product_.logPath(), kilobytes, mode);
    }
    void write(const std::string& line) {
        writer_->WriteEntries(std::vector<LogEntry>{{line, now_}});
    }
    std::string log(const std::string& name) const { return brief(product_.log(name)); }

    TestInstallation product_;
    int64_t now_ =
        platform::msFromLocal({.year = 2024, .month = 1, .day = 1, .hour = 23, .minute = 30}) /
        1000;
    std::optional<LogWriter> writer_{std::in_place, [this] { return now_ * 1000; }};
};

TEST_F(LogWriterTest, LinesAreStampedAndStayWhole) {
    configure("DAY");
    write("INFO, [TAG] plain");
    write(
        "INFO, a\r\n[Mon 2024-01-01 00:00:00] STATUS, forged\tb\x1B[2J\x7F\xC2\x85\xE2\x80\xA8 "
        "caf\xC3\xA9");
    writer_.reset();
    EXPECT_EQ(product_.log("WebDAV-20240101.log"),
              "[Mon 2024-01-01 23:30:00] ----- CVWebDAV " CVWEBDAV_VERSION
              " Log file starting -----\r\n"
              "[Mon 2024-01-01 23:30:00] INFO, [TAG] plain\r\n"
              "[Mon 2024-01-01 23:30:00] INFO, a  [Mon 2024-01-01 00:00:00] STATUS, forged b [2J  "
              "     caf\xC3\xA9\r\n"
              "[Mon 2024-01-01 23:30:00] ----- CVWebDAV " CVWEBDAV_VERSION
              " Log file stopping -----\r\n");
}

TEST_F(LogWriterTest, FilesByWeekdayAreAppendedToAWeekLater) {
    configure("DAILY");
    write("first");
    now_ += kHour;
    write("second");
    now_ += 6 * kDay;
    write("third");
    writer_.reset();
    EXPECT_EQ(log("Monday-WebDAV.log"),
              "<starting>|first|<rotating>|<stopping>|<starting>|third|<stopping>|");
    EXPECT_EQ(log("Tuesday-WebDAV.log"), "<starting>|second|<rotating>|<stopping>|");
}

TEST_F(LogWriterTest, FilesByDateChangeAtLocalMidnight) {
    configure("DAY");
    write("first");
    now_ += 1799;
    write("last second");
    now_ += 1;
    write("second");
    EXPECT_EQ(log("WebDAV-20240101.log"), "<starting>|first|last second|<rotating>|<stopping>|");
    EXPECT_EQ(log("WebDAV-20240102.log"), "<starting>|second|");

    CINIFile settings;
    settings.path = WebstrandIniPath();
    settings.section = "Other";
    EXPECT_EQ(settings.ReadString("LatestWebDAVLogFile", ""),
              product_.logPath("WebDAV-20240102.log"));
}

TEST_F(LogWriterTest, ASingleFileKeepsTheNameThereWasBefore) {
    configure("");
    write("nameless");
    EXPECT_EQ(log(".log"), "<starting>|nameless|");
    configure("DAILY");
    write("named");
    configure("None");
    write("kept");
    EXPECT_EQ(log(".log"), "<starting>|nameless|<stopping>|");
    EXPECT_EQ(log("Monday-WebDAV.log"), "<starting>|named|<stopping>|<starting>|kept|");
    configure("None");
    write("still open");
    EXPECT_EQ(log("Monday-WebDAV.log"), "<starting>|named|<stopping>|<starting>|kept|still open|");
}

TEST_F(LogWriterTest, ATooLargeFileBecomesTheOldOne) {
    configure("DAILY", 1);
    platform::replaceFile(product_.logPath("Monday-WebDAV.old"), "of long ago");
    const std::string line(900, 'x');
    write(line);
    write("fills it to its limit");
    ASSERT_LT(product_.log("Monday-WebDAV.log").size(), 1024U + 64);
    write("goes to the new one");
    EXPECT_EQ(log("Monday-WebDAV.old"),
              "<starting>|" + line + "|fills it to its limit|<reached maximum size>|<stopping>|");
    EXPECT_EQ(log("Monday-WebDAV.log"), "<starting>|goes to the new one|");
}

TEST_F(LogWriterTest, WritingGoesOnWhereTheRotationFails) {
    configure("DAILY", 1);
    platform::createDirectories(product_.logPath("Monday-WebDAV.old\\in the way"));
    const std::string line(1100, 'x');
    write(line);
    write("second");
    EXPECT_EQ(log("Monday-WebDAV.log"), "<starting>|" + line + "|second|");
    platform::removeDirectoryTree(product_.logPath("Monday-WebDAV.old"));
    write("third");
    EXPECT_EQ(log("Monday-WebDAV.old"),
              "<starting>|" + line + "|second|<reached maximum size>|<stopping>|");
    EXPECT_EQ(log("Monday-WebDAV.log"), "<starting>|third|");
}

TEST_F(LogWriterTest, TheSemaphoreGoesWithEachCheck) {
    const std::string semaphore = product_.logPath("WebDAVLogLocked.sem");
    configure("DAILY");
    write("opens");
    const auto make = [&] { platform::replaceFile(semaphore, ""); };
    make();
    write("checks");
    EXPECT_FALSE(platform::fileExists(semaphore));
    make();
    write("checks in the same second");
    writer_->Flush();
    EXPECT_FALSE(platform::fileExists(semaphore));
    make();
    now_ += kHour;
    write("rotates");
    EXPECT_FALSE(platform::fileExists(semaphore));
    make();
    writer_.reset();
    EXPECT_FALSE(platform::fileExists(semaphore));
}

TEST_F(LogWriterTest, AnEntryWithoutAFileIsLostTheNextIsNot) {
    write("not configured");
    writer_->Configure(product_.logPath("Later"), 0, "DAY");
    write("no directory");
    platform::createDirectories(product_.logPath("Later"));
    write("there");
    EXPECT_EQ(log("Later\\WebDAV-20240101.log"), "<starting>|there|");
}

}  // namespace
}  // namespace webdav
