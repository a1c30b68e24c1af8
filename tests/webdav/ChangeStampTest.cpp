#include <gtest/gtest.h>

#include "tests/platform/TemporaryDirectory.h"
#include "webdav/dav/ChangeStamp.h"
#include "webdav/store/ItemKind.h"

namespace {

TEST(ChangeStamp, IsTheMarkersOrItsTime) {
    const TemporaryDirectory folder;
    const std::string marker = folder.path("TaskList.mrk");
    const auto stamp = [&] { return DAV::ReadChangeStamp(webdav::kTaskKind, folder.path()); };

    EXPECT_EQ(DAV::ReadChangeStamp(webdav::kTaskKind, ""), "");
    EXPECT_EQ(stamp(), "");
    platform::replaceFile(marker, "<a lastModified=\"2017-05-19T08:01:02.003Z\"><b/></a>");
    EXPECT_EQ(stamp(), "2017-05-19T08:01:02.003Z");
    EXPECT_EQ(DAV::ReadChangeStamp(webdav::kCalendarKind, folder.path()), "");

    for (const char* text : {"", "<a/>", "<a lastModified=\"\"/>", "<a><b lastModified=\"1\"/></a>",
                             "lastModified", "<a lastmodified=\"1\"/>"}) {
        platform::replaceFile(marker, text);
        const platform::DateTime time = platform::lastWriteTime(marker).value();
        EXPECT_EQ(stamp(),
                  webdav::FormatStamp({time.year, time.month, time.dayOfWeek, time.day, time.hour,
                                       time.minute, time.second, time.milliseconds}))
            << text;
    }
    EXPECT_EQ(webdav::FormatStamp({2026, 1, 5, 9, 23, 59, 7, 80}), "2026-01-09T23:59:07.080Z");
    EXPECT_EQ(webdav::FormatStamp({12345, 100, 0, 1, 0, 0, 0, 1000}),
              "12345-100-01T00:00:00.1000Z");
}

}  // namespace
