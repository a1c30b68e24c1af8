#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/Options.h"

namespace host {
namespace {

std::optional<Options> parse(const std::string& words, int& exitCode) {
    std::istringstream stream("cvwebdavd " + words);
    const std::vector<std::string> texts{std::istream_iterator<std::string>(stream), {}};
    std::vector<const char*> arguments;
    for (const std::string& text : texts) arguments.push_back(text.c_str());
    return parseOptions(static_cast<int>(arguments.size()), arguments.data(), exitCode);
}

TEST(Options, OfAFullCommandLine) {
    int exitCode = -1;
    const auto options = parse(
        "--data d --listen 127.0.0.1:0 --listen [::1]:8008 --listen 127.9.9.9:1 "
        "--trusted-proxy 10.0.0.0/8 --tls-listen [fe80::1%eth0]:443 --tls-cert c --tls-key k "
        "--admin-listen [::1]:9 --access-log f --access-log-format json --threads 7 "
        "--max-body 1000",
        exitCode);
    ASSERT_TRUE(options);
    EXPECT_EQ(options->dataDirectory, "d");
    ASSERT_EQ(options->server.plain.size(), 3U);
    EXPECT_EQ(options->server.plain[1].address, "::1");
    EXPECT_EQ(options->server.plain[1].port, 8008);
    ASSERT_EQ(options->server.tls.size(), 1U);
    EXPECT_EQ(options->server.accessLogFormat, AccessLog::Format::kJson);
    EXPECT_TRUE(options->adminAsked);
    EXPECT_EQ(options->server.threads, 7U);
    EXPECT_EQ(options->server.limits.maxBody, 1000U);
}

TEST(Options, PlainTextThatLeavesTheMachineMustBeAskedFor) {
    for (const char* address : {"0.0.0.0:80", "192.0.2.1:80", "[::]:80", "[2001:db8::1]:80"}) {
        int exitCode = 0;
        const std::string words = std::string("--data d --listen ") + address;
        EXPECT_TRUE(parse(words + " --allow-plain", exitCode));
        testing::internal::CaptureStderr();
        EXPECT_FALSE(parse(words, exitCode));
        EXPECT_EQ(exitCode, 2);
        EXPECT_NE(testing::internal::GetCapturedStderr().find("--allow-plain"), std::string::npos);
    }
}

TEST(Options, WrongUsageExitsWithTwo) {
    for (const std::string words :
         {"", "--data", "--listen 8008", "--listen ::1:8008", "--listen 127.0.0.1:65536",
          "--listen 127.0.0.1:80x", "--listen localhost:8008 --allow-plain",
          "--tls-listen 127.0.0.1:1", "--tls-cert c --tls-key k", "--threads 0", "--max-body many",
          "--trusted-proxy 10.0.0.0/33", "--admin-listen 0.0.0.0:9090", "--admin-listen unix:",
          "--access-log-format json", "--access-log f --access-log-format xml", "--unknown"}) {
        int exitCode = -1;
        testing::internal::CaptureStderr();
        EXPECT_FALSE(parse(words.size() <= 6 ? words : "--data d " + words, exitCode)) << words;
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(exitCode, 2);
        EXPECT_EQ(std::ranges::count(said, '\n'), 1) << said;
    }
}

}  // namespace
}  // namespace host
