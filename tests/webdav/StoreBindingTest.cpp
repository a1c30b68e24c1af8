#include <filesystem>

#include <gtest/gtest.h>

#include "platform/Error.h"
#include "platform/Files.h"
#include "platform/Registry.h"
#include "tests/platform/TemporaryDirectory.h"
#include "webdav/store/StoreBinding.h"
#include "webdav/store/StoreOperations.h"

using webdav::IsStoreLoaded;
using webdav::LoadStore;

namespace {

// Libraries that offer the names and nothing behind them: all of a library's, and all but one.
class StoreBinding : public testing::Test {
  protected:
    void SetUp() override {
        install("CVUser", "all_CVUser");
        install("CVCalendar", "all_CVCalendar");
        setRegistry("AppPath=" + directory_.path("bin") + "\nIniPath=" + iniPath_);
    }
    void TearDown() override {
        webdav::UnloadStore();
        platform::useRegistryFile(before_);
    }

    void setRegistry(const std::string& values) {
        ASSERT_TRUE(
            platform::replaceFile(directory_.path("registry.ini"),
                                  "[SOFTWARE\\Quindle Software\\Corvane]\n" + values + "\n"));
        ASSERT_TRUE(platform::useRegistryFile(directory_.path("registry.ini")));
    }
    void install(const std::string& name, const std::string& library) {
        const std::filesystem::path bin = std::filesystem::path(directory_.native()) / "bin";
        std::filesystem::create_directories(bin);
        std::filesystem::copy_file(std::filesystem::path(STORE_LIBRARIES) / (library + ".so"),
                                   bin / (name + ".so"),
                                   std::filesystem::copy_options::overwrite_existing);
    }
    void uninstall(const std::string& name) {
        platform::removeFile(directory_.path("bin\\" + name + ".so"));
    }
    /// The code with which loading fails, or -1 when it succeeds.
    static int64_t loadStore() { return LoadStore() ? -1 : int64_t{platform::lastError()}; }

    const std::string before_ = platform::registryFilePath();
    TemporaryDirectory directory_;
    const std::string iniPath_ = directory_.path("Corvane.ini");
};

TEST_F(StoreBinding, BindsEveryNameAndLetsGo) {
    ASSERT_EQ(loadStore(), -1);
    EXPECT_TRUE(IsStoreLoaded());
#define EXPECT_BOUND(name) EXPECT_NE(webdav::store().name, nullptr) << #name;
    WEBDAV_USER_OPERATIONS(EXPECT_BOUND)
    WEBDAV_CALENDAR_OPERATIONS(EXPECT_BOUND)
    webdav::UnloadStore();
    EXPECT_FALSE(IsStoreLoaded());
    EXPECT_EQ(webdav::store().CV_GetByEmail, nullptr);
}

TEST_F(StoreBinding, IsAllOrNothing) {
    install("CVUser", "lacking_CVUser");
    EXPECT_EQ(loadStore(), 1);
    install("CVUser", "all_CVUser");
    install("CVCalendar", "lacking_CVCalendar");
    EXPECT_EQ(loadStore(), 1);
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
    const std::string appPath = "AppPath=" + directory_.path("bin");
    setRegistry(appPath);
    EXPECT_GT(loadStore(), 1);
    setRegistry("IniPath=" + iniPath_);
    EXPECT_GT(loadStore(), 1);
    setRegistry(appPath + "\nIniPath=" + std::string(300, 'x'));
    EXPECT_GT(loadStore(), 1);
    setRegistry(appPath + "\nIniPath=");
    EXPECT_EQ(loadStore(), 0);
    setRegistry("AppPath=\nIniPath=" + iniPath_);
    EXPECT_EQ(loadStore(), 0);
    EXPECT_FALSE(IsStoreLoaded());
}

TEST_F(StoreBinding, TakesTheUserLibraryOfTheConfiguredType) {
    ASSERT_TRUE(platform::replaceFile(iniPath_, "[Advanced]\nUserDllType=64\n"));
    EXPECT_GT(loadStore(), 1);
    install("CVUser64", "all_CVUser");
    uninstall("CVUser");
    EXPECT_EQ(loadStore(), -1);
}

}  // namespace
