#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "webdav/base/ExceptObj.h"
#include "webdav/base/Filemap.h"

namespace webdav {
namespace {

TEST(Filemap, HoldsWhatWasAskedForOrNothing) {
    FileMap map;
    EXPECT_EQ(map.data(), nullptr);
    map.Allocate(10);
    ASSERT_EQ(map.size(), 10U);
    std::memset(map.data(), 'x', map.size());
    map.Allocate(1U << 20);
    ASSERT_EQ(map.size(), 1U << 20);
    EXPECT_EQ(map.data()[0], 0);
    std::memset(map.data(), 'x', map.size());
    try {
        map.Allocate(0);
        FAIL() << "a section of 0 bytes";
    } catch (const ExceptObj& failure) {
        EXPECT_EQ(failure.line(), 57U);
        EXPECT_EQ(failure.file(), "Unknown File");
        EXPECT_TRUE(failure.message().starts_with("Error ("));
        EXPECT_TRUE(failure.message().ends_with(") in CreateFileMapping"));
    }
    EXPECT_EQ(map.data(), nullptr);
    EXPECT_EQ(map.size(), 0U);
    map.Allocate(1);
    EXPECT_EQ(map.size(), 1U);
}

TEST(Filemap, FailuresNameTheirSource) {
    EXPECT_EQ(ExceptObj(1, "d:\\src\\Some.cpp", "").file(), "Some.cpp");
    EXPECT_EQ(ExceptObj(1, "WebDAVRequest.cpp", "").file(), "Unknown File");
    EXPECT_EQ(ExceptObj(1, "\\" + std::string(300, 'f'), "").file(), std::string(260, 'f'));
}

}  // namespace
}  // namespace webdav
