#include <tuple>

#include <gtest/gtest.h>

#include "tests/platform/TemporaryDirectory.h"
#include "webdav/frame/FolderPath.h"
#include "webdav/frame/PathSegments.h"

using namespace webdav;

namespace {

using Names = std::vector<std::string>;

TEST(PathSegments, KeepsABase64NameWhole) {
    const std::pair<std::string, Names> cases[] = {
        {"/webdav/calendar", {"webdav", "calendar"}},
        {"//webdav//x", {"webdav", "x"}},
        {"", {}},
        {"/caldav/d/m/b64=ab/cd", {"caldav", "d", "m", "b64=ab/cd"}},
        {"/caldav/d/m/B64=ab/cd/x.ICS", {"caldav", "d", "m", "B64=ab/cd", "x.ICS"}},
        {"/caldav/d/m/b64=ab_cd/x.vcf", {"caldav", "d", "m", "b64=ab/cd", "x.vcf"}},
        {"/b64=x.ics", {"b64=x.ics"}},
        {"/a_b/c", {"a_b", "c"}},
    };
    for (const auto& [path, segments] : cases) EXPECT_EQ(SplitPath(path), segments) << path;
}

constexpr SegmentForm kNames = SegmentForm::kNames;
constexpr SegmentForm kCollection = SegmentForm::kCollection;

TEST(PathSegments, TellsFolderAndItem) {
    const std::tuple<SegmentForm, Names, Names, std::string> cases[] = {
        {kNames, {}, {}, ""},
        {kNames, {"x.ics"}, {}, "x.ics"},
        {kNames, {"Work", "Sub", "X.VCF"}, {"Work", "Sub"}, "X.VCF"},
        {kNames, {"Work", "x.ics", "Sub"}, {"Work"}, ""},
        {kNames, {"b64=V29yaw=="}, {"b64=V29yaw=="}, ""},
        {kCollection, {"x.ics"}, {}, "x.ics"},
        {kCollection, {"b64=V29yaw=="}, {"Work"}, ""},
        {kCollection, {"B64=V29yay9TdWI=", "x.ics"}, {"Work", "Sub"}, "x.ics"},
        {kCollection, {"b64="}, {}, ""},
        // A folder may bear a name that looks like an item's.
        {kCollection, {"b64=YS5pY3MvYg=="}, {"a.ics", "b"}, ""},
    };
    for (const auto& [form, segments, folder, item] : cases) {
        const FolderReading reading = ReadSegments(segments, form);
        EXPECT_EQ(reading.folder, folder) << testing::PrintToString(segments);
        EXPECT_EQ(reading.item, item) << testing::PrintToString(segments);
    }
}

TEST(PathSegments, ReadsAnItemWithoutExtensionForDelete) {
    const std::tuple<SegmentForm, Names, std::string> cases[] = {
        {kNames, {}, "() "},
        {kNames, {"abc.vcf"}, "() abc.vcf"},
        {kNames, {"Work", "abc"}, "(Work/abc) |(Work) abc"},
        {kCollection, {"abc"}, "(abc) |() abc"},
        {kCollection, {"b64=V29yaw=="}, "(Work) "},
        {kCollection, {"b64=V29yaw==/abc"}, "(Work) abc"},
        {kCollection, {"b64=w7/Dv8O/"}, "(\xC3\xBF\xC3\xBF\xC3\xBF) |(\xC3\xBF\xC3\xBF\xC3) "},
    };
    for (const auto& [form, segments, expected] : cases) {
        std::string readings;
        for (const FolderReading& reading : ReadSegmentsForDelete(segments, form)) {
            readings += readings.empty() ? "(" : "|(";
            for (const std::string& name : reading.folder)
                readings += name + (&name == &reading.folder.back() ? "" : "/");
            readings += ") " + reading.item;
        }
        EXPECT_EQ(readings, expected) << testing::PrintToString(segments);
    }
}

class FolderPaths : public testing::Test {
  protected:
    bool exists(const Names& names) const { return FindFolder(base_, names).exists; }

    TemporaryDirectory directory_;
    const std::string base_ = directory_.path("alice") + "\\";
};

// No folder exists outside the tree, nor by a cut path; the conversations know more of the former.
TEST_F(FolderPaths, StayWithinTheTree) {
    platform::createDirectories(base_ + "Work.IMAP");
    platform::createDirectories(directory_.path("...IMAP"));
    EXPECT_TRUE(exists({"Work/"}));
    for (const Names& names : {Names{"..", "Work"}, Names{"."}, Names{std::string("Work\0", 5)},
                               Names{""}, Names{"Work", std::string(300, 'x')}})
        EXPECT_FALSE(exists(names)) << testing::PrintToString(names);
    EXPECT_LE(FindFolder(base_, Names(40, "Work")).path.size(), 259U);
    EXPECT_FALSE(FindFolder("", Names{"tmp"}).exists);

    const size_t room = 259 - base_.size() - std::string(".IMAP").size();
    if (room < 250) {
        platform::createDirectories(base_ + std::string(room, 'y') + ".IMAP");
        EXPECT_TRUE(exists({std::string(room, 'y')}));
        EXPECT_FALSE(exists({std::string(room, 'y') + ".IMAP", "z"}));
    }
}

}  // namespace
