#include <filesystem>
#include <tuple>

#include <gtest/gtest.h>

#include "platform/Error.h"
#include "tests/webdav/LoggedLines.h"
#include "webdav/store/StoreBinding.h"
#include "webdav/store/StoreOperations.h"

using webdav::IsStoreLoaded;
using webdav::LoadStore;

namespace {

using Lines = std::vector<std::string>;

// The libraries offer the names and nothing behind them: all of a library's, or all but one.
class StoreBinding : public testing::Test {
  protected:
    void SetUp() override {
        install("CVUser", "all_CVUser");
        install("CVCalendar", "all_CVCalendar");
    }
    void TearDown() override { webdav::UnloadStore(); }

    void install(const std::string& name, const std::string& library) {
        const std::filesystem::path bin = platform::nativePath(product_.path("bin"));
        std::filesystem::create_directories(bin);
        std::filesystem::copy_file(std::filesystem::path(STORE_LIBRARIES) / (library + ".so"),
                                   bin / (name + ".so"),
                                   std::filesystem::copy_options::overwrite_existing);
    }
    void uninstall(const std::string& name) {
        platform::removeFile(product_.path("bin\\" + name + ".so"));
    }
    /// The code with which loading fails, or -1 when it succeeds.
    static int64_t loadStore() { return LoadStore() ? -1 : int64_t{platform::lastError()}; }

    TestInstallation product_;
    LoggedLines log_{product_};
};

TEST_F(StoreBinding, BindsEveryNameAndLetsGo) {
    ASSERT_EQ(loadStore(), -1);
    EXPECT_TRUE(IsStoreLoaded());
#define EXPECT_BOUND(name) EXPECT_NE(webdav::store().name, nullptr) << #name;
    WEBDAV_USER_OPERATIONS(EXPECT_BOUND)
    WEBDAV_CALENDAR_OPERATIONS(EXPECT_BOUND)
    EXPECT_EQ(log_.take(), (Lines{"STATUS, Loading Corvane API", "DEBUG, Loaded CVUser.dll",
                                  "DEBUG, Loaded CVCalendar.dll"}));
    webdav::UnloadStore();
    EXPECT_FALSE(IsStoreLoaded());
    EXPECT_EQ(webdav::store().CV_GetByEmail, nullptr);
    EXPECT_EQ(log_.take(), (Lines{"STATUS, Unloading Corvane API", "DEBUG, Unloaded CVCalendar.dll",
                                  "DEBUG, Unloaded CVUser.dll"}));
    webdav::UnloadStore();
    EXPECT_EQ(log_.take(), Lines());
}

TEST_F(StoreBinding, IsAllOrNothing) {
    install("CVUser", "lacking_CVUser");
    EXPECT_EQ(loadStore(), 1);
    EXPECT_EQ(log_.take(), (Lines{"STATUS, Loading Corvane API",
                                  "CRITICAL, Unable to load CVUser.dll. Error: 1"}));
    install("CVUser", "all_CVUser");
    install("CVCalendar", "lacking_CVCalendar");
    EXPECT_EQ(loadStore(), 1);
    EXPECT_EQ(log_.take(), (Lines{"STATUS, Loading Corvane API", "DEBUG, Loaded CVUser.dll",
                                  "CRITICAL, Unable to load CVCalendar.dll. Error: 1"}));
    EXPECT_FALSE(IsStoreLoaded());
    EXPECT_EQ(webdav::store().CV_CalInitCalItemEx, nullptr);
}

TEST_F(StoreBinding, TellsWhyALibraryCannotBeLoaded) {
    uninstall("CVCalendar");
    EXPECT_GT(loadStore(), 1);
    install("CVCalendar", "all_CVCalendar");
    uninstall("CVUser");
    EXPECT_GT(loadStore(), 1);
    EXPECT_FALSE(IsStoreLoaded());
}

TEST_F(StoreBinding, NeedsBothRegistryValues) {
    const std::string appPath = product_.path("bin");
    const std::string iniPath = product_.path("Corvane.ini");
    // With an error of the system, or with code 0.
    const std::tuple<std::string, std::string, bool> cases[] = {
        {"", iniPath, false},
        {appPath, "", false},
        {appPath, std::string(300, 'x'), true},
        {std::string(254, 'x'), iniPath, true},
    };
    for (const auto& [app, ini, systemError] : cases) {
        product_.setRegistry("AppPath", app);
        product_.setRegistry("IniPath", ini);
        const int64_t code = loadStore();
        EXPECT_TRUE(systemError ? code > 1 : code == 0) << code << app;
    }
    platform::useRegistryFile(product_.path("none.ini"));
    EXPECT_GT(loadStore(), 1);
    EXPECT_FALSE(IsStoreLoaded());
}

TEST_F(StoreBinding, TakesTheUserLibraryOfTheConfiguredType) {
    product_.setMain("Advanced", "UserDllType", "64");
    EXPECT_GT(loadStore(), 1);
    install("CVUser64", "all_CVUser");
    uninstall("CVUser");
    EXPECT_EQ(loadStore(), -1);
}

}  // namespace
