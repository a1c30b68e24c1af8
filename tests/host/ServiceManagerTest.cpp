#include <cstdlib>
#include <filesystem>
#include <random>

#include <boost/asio/local/datagram_protocol.hpp>
#include <gtest/gtest.h>

#include "tests/host/TestClient.h"

namespace host {
namespace {

using boost::asio::local::datagram_protocol;

TEST(ServiceManager, IsToldOfEachChangeAndOfLife) {
    boost::asio::io_context io;
    const std::string name = std::filesystem::temp_directory_path() /
                             ("cvwebdavd-notify-" + std::to_string(std::random_device()()));
    datagram_protocol::socket manager(io, {name});
    setenv("NOTIFY_SOCKET", name.c_str(), 1);
    setenv("WATCHDOG_USEC", "2000", 1);
    const auto next = [&] {
        std::string text(100, '\0');
        text.resize(manager.receive(boost::asio::buffer(text)));
        return text;
    };
    {
        RunningServer server(plainSettings());
        EXPECT_EQ(next(), "READY=1");
        EXPECT_EQ(next(), "WATCHDOG=1");
        server.server().reload();
        std::string told = next();
        while (told == "WATCHDOG=1") told = next();
        EXPECT_TRUE(told.starts_with("RELOADING=1\nMONOTONIC_USEC=")) << told;
        EXPECT_EQ(next(), "READY=1");
    }
    unsetenv("NOTIFY_SOCKET");
    unsetenv("WATCHDOG_USEC");
    std::string last = next();
    while (last == "WATCHDOG=1") last = next();
    EXPECT_EQ(last, "STOPPING=1");
    std::filesystem::remove(name);
}

}  // namespace
}  // namespace host
