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
}

}  // namespace
