#include <cstdlib>

#include <boost/asio/local/datagram_protocol.hpp>
#include <gtest/gtest.h>

#include "tests/host/TestClient.h"
#include "tests/platform/TemporaryDirectory.h"

namespace host {
namespace {

using boost::asio::local::datagram_protocol;

TEST(ServiceManager, IsToldOfEachChangeAndOfLife) {
    boost::asio::io_context io;
    const TemporaryDirectory directory;
    const std::string name = directory.native() + "/notify";
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
}

}  // namespace
}  // namespace host
