#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "tests/webdav/TestInstallation.h"
#include "webdav/base/INIFile.h"
#include "webdav/base/Settings.h"

namespace webdav {
namespace {

TEST(Settings, WebstrandStandsBesideTheApplication) {
    const char* const cases[][2] = {{"C:\\A\\B\\", "C:\\A\\Webstrand"},
                                    {"C:\\A\\B", "C:\\A\\Webstrand"},
                                    {"B", "B\\Webstrand"},
                                    {"\\bin", "\\Webstrand"},
                                    {"", "\\Webstrand"},
                                    {"C:\\A\\\\", "C:\\A\\Webstrand"}};
    for (const auto& [appPath, directory] : cases) {
        SetInstallation(appPath);
        EXPECT_EQ(AppPath(), appPath);
        EXPECT_EQ(WebstrandDirectory(), directory);
        EXPECT_EQ(WebstrandIniPath(), std::string(directory).append("\\Webstrand.ini"));
    }
}

TEST(Settings, BooleansAreYesOrOne) {
    const TestInstallation product;
    CINIFile file;
    file.path = product.path("Corvane.ini");
    file.section = "Logs";
    for (const char* on : {"yes", "Y", "Yonder", "1"}) {
        file.WriteString("Switch", on);
        EXPECT_TRUE(file.ReadBool("Switch", false)) << on;
    }
    for (const char* off : {"true", "on", "0", "no", "", "11", "-1"}) {
        file.WriteString("Switch", off);
        EXPECT_FALSE(file.ReadBool("Switch", true)) << off;
    }
    EXPECT_TRUE(file.ReadBool("Missing", true));
    EXPECT_FALSE(file.ReadBool("Missing", false));
}

TEST(Settings, TextsAreCutUserDefaultsAreNot) {
    const TestInstallation product;
    CINIFile file;
    file.path = product.path("UserSettings.ini");
    file.section = "Default:UserDefaults";
    for (const size_t length : {254U, 255U, 256U, 300U, 511U, 2046U, 2100U}) {
        const std::string value(length, 'n');
        file.WriteString("CalendarFolderName", value);
        EXPECT_EQ(ReadUserDefault("CalendarFolderName", "Calendar", file.path), value);
        EXPECT_EQ(file.ReadString("CalendarFolderName", "").size(), std::min<size_t>(length, 2046));
    }
    EXPECT_EQ(ReadUserDefault("TasksFolderName", "Tasks", file.path), "Tasks");
    EXPECT_EQ(ReadUserDefault("TasksFolderName", "Tasks", product.path("None.ini")), "Tasks");
    file.path = product.path("None.ini");
    EXPECT_EQ(file.ReadInt("Number", -7), -7);
}

TEST(Settings, RegistryValues) {
    const TestInstallation product;
    EXPECT_EQ(ReadRegistryString("IniPath"), product.path("Corvane.ini"));
    EXPECT_EQ(LogDirectory(), product.path("Logs"));
    EXPECT_EQ(ReadRegistryString("None"), "");
    product.setRegistry("AppPath", std::string(1023, 'a'));
    EXPECT_EQ(ReadRegistryString("AppPath").size(), 1023U);
    product.setRegistry("AppPath", std::string(1024, 'a'));
    EXPECT_EQ(ReadRegistryString("AppPath"), "");
    product.setRegistry("IniPath", "");
    EXPECT_EQ(LogDirectory(), "");
}

}  // namespace
}  // namespace webdav
