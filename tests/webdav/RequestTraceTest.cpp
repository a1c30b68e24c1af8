#include <algorithm>
#include <filesystem>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "tests/webdav/TestInstallation.h"
#include "webdav/log/RequestTrace.h"

namespace webdav {
namespace {

namespace fs = std::filesystem;

/// A context of Friday 2017-05-19, 14:03:07.042 local time.
TraceContext contextFrom(const std::string& address) {
    return {"ABCDEFGHIJKLMN", address, {2017, 5, 5, 19, 14, 3, 7, 42}};
}

std::map<std::string, std::string> traces(const TestInstallation& product) {
    std::map<std::string, std::string> files;
    const std::string directory = product.logPath("CVWebDAV\\170519");
    for (const std::string& name : platform::listDirectory(directory))
        files[name] = TestInstallation::file(directory + "\\" + name);
    return files;
}

const std::string kRule = "\r\n\r\n" + std::string(68, '-') + "\r\n\r\n";
const std::string kBase = "ABCDEFGHIJKLMN_192.0.2.7_20170519-140307-042";

TEST(RequestTrace, NothingUnlessAsked) {
    const TestInstallation product;
    TraceContext context = contextFrom("192.0.2.7");
    EXPECT_FALSE(TracingEnabled());
    TraceMessage(context, "head", "body", true, false);
    EXPECT_TRUE(platform::listDirectory(product.logPath()).empty());
    product.setWebstrand("LogMessages", "Yes");
    EXPECT_TRUE(TracingEnabled());
}

TEST(RequestTrace, InvalidTextIsKeptApartAndAllForTheOwnerAlone) {
    const TestInstallation product;
    product.setWebstrand("LogMessages", "Yes");
    TraceContext context = contextFrom("192.0.2.7");
    TraceMessage(context, "an earlier request", "", true, false);
    TraceMessage(context, "q", "", true, false);
    TraceMessage(context, "a", "\xFF", false, true);
    TraceMessage(context, "a", "", false, false);
    EXPECT_EQ(traces(product),
              (std::map<std::string, std::string>{{kBase + ".log", "q" + kRule + "a"},
                                                  {kBase + "_InvalidUTF8.log", kRule + "a\xFF"}}));

    TraceContext invalid = contextFrom("::1\\..");
    TraceMessage(invalid, "q", std::string("\xFF\0", 2), true, true);
    TraceMessage(invalid, "a", "", false, false);
    EXPECT_EQ(traces(product).at("ABCDEFGHIJKLMN_--1-.._20170519-140307-042_InvalidUTF8.log"),
              std::string("q\xFF\0", 3) + kRule + "a");

    const std::string directory = platform::nativePath(product.logPath("CVWebDAV\\170519"));
    EXPECT_EQ(fs::status(directory).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(directory + "/" + kBase + ".log").permissions(),
              fs::perms::owner_read | fs::perms::owner_write);
}

}  // namespace
}  // namespace webdav
