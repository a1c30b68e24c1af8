#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "host/Options.h"

namespace host {
namespace {

std::optional<Options> parse(std::vector<const char*> arguments, int& exitCode) {
    arguments.insert(arguments.begin(), "cvwebdavd");
    return parseOptions(static_cast<int>(arguments.size()), arguments.data(), exitCode);
}

TEST(Options, OfAFullCommandLine) {
    int exitCode = -1;
    const auto options = parse({"--data",          "d",          "--listen",     "127.0.0.1:0",
                                "--listen",        "[::1]:8008", "--listen",     "127.9.9.9:1",
                                "--trusted-proxy", "10.0.0.0/8", "--tls-listen", "0.0.0.0:443",
                                "--tls-cert",      "c",          "--tls-key",    "k",
                                "--threads",       "7",          "--max-body",   "1000"},
                               exitCode);
    ASSERT_TRUE(options);
    EXPECT_EQ(options->dataDirectory, "d");
    ASSERT_EQ(options->server.plain.size(), 3U);
    EXPECT_EQ(options->server.plain[1].address, "::1");
    EXPECT_EQ(options->server.plain[1].port, 8008);
    ASSERT_EQ(options->server.tls.size(), 1U);
    EXPECT_EQ(options->server.threads, 7U);
    EXPECT_EQ(options->server.limits.maxBody, 1000U);
}

TEST(Options, PlainTextThatLeavesTheMachineMustBeAskedFor) {
    for (const char* address : {"0.0.0.0:80", "192.0.2.1:80", "[::]:80", "[2001:db8::1]:80"}) {
        int exitCode = 0;
        EXPECT_TRUE(parse({"--data", "d", "--listen", address, "--allow-plain"}, exitCode));
        testing::internal::CaptureStderr();
        EXPECT_FALSE(parse({"--data", "d", "--listen", address}, exitCode));
        EXPECT_EQ(exitCode, 2);
        EXPECT_NE(testing::internal::GetCapturedStderr().find("--allow-plain"), std::string::npos);
    }
}

TEST(Options, WrongUsageExitsWithTwo) {
    const std::vector<std::vector<const char*>> cases = {
        {},
        {"--data"},
        {"--data", "d", "--listen", "8008"},
        {"--data", "d", "--listen", "::1:8008"},
        {"--data", "d", "--listen", "127.0.0.1:65536"},
        {"--data", "d", "--listen", "127.0.0.1:80x"},
        {"--data", "d", "--tls-listen", "127.0.0.1:1"},
        {"--data", "d", "--tls-cert", "c", "--tls-key", "k"},
        {"--data", "d", "--threads", "0"},
        {"--data", "d", "--max-body", "many"},
        {"--data", "d", "--trusted-proxy", "10.0.0.0/33"},
        {"--data", "d", "--unknown"},
    };
    for (const auto& arguments : cases) {
        int exitCode = -1;
        testing::internal::CaptureStderr();
        EXPECT_FALSE(parse(arguments, exitCode));
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(exitCode, 2);
        EXPECT_EQ(std::ranges::count(said, '\n'), 1) << said;
    }
}

}  // namespace
}  // namespace host
