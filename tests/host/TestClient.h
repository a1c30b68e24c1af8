// A running server with the test extension, and a client that sends what it is told to.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <thread>

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <gtest/gtest.h>

#include "host/Server.h"
#include "tests/host/TestExtension.h"

namespace host {

class RunningServer {
  public:
    explicit RunningServer(ServerSettings settings)
        : module_(TestExtension::module()), server_(std::move(settings), module_) {
        const auto problem = server_.open();
        EXPECT_FALSE(problem) << problem.value_or("");
        EXPECT_FALSE(server_.openLogs());
        EXPECT_FALSE(server_.openAdmin());
        const std::string url = server_.urls().at(0);
        const size_t colon = url.rfind(':');
        port_ = static_cast<uint16_t>(std::stoi(url.substr(colon + 1)));
        thread_ = std::thread([this] { drained_ = server_.run(); });
    }
    ~RunningServer() { stop(); }

    uint16_t port() const { return port_; }
    Server& server() { return server_; }
    /// True when nothing was left running.
    bool stop() {
        server_.stop();
        if (thread_.joinable()) thread_.join();
        return drained_;
    }

  private:
    ExtensionModule module_;
    Server server_;
    uint16_t port_ = 0;
    bool drained_ = false;
    std::thread thread_;
};

inline ServerSettings plainSettings() {
    ServerSettings settings;
    settings.plain.push_back({"127.0.0.1", 0});
    settings.threads = 2;
    return settings;
}

/// Blocking, but gives up after a while so that a test fails instead of hanging.
class TestClient {
  public:
    explicit TestClient(uint16_t port) : socket_(io_) {
        socket_.connect({boost::asio::ip::address_v4::loopback(), port});
    }

    bool send(std::string_view bytes) {
        boost::system::error_code error;
        boost::asio::write(socket_, boost::asio::buffer(bytes), error);
        return !error;
    }

    /// Everything up to the end of the connection; "RESET" or "TIMEOUT" behind it otherwise.
    std::string receiveAll() { return receive(SIZE_MAX); }

    /// At most that many bytes.
    std::string receive(size_t size) {
        std::string bytes;
        boost::system::error_code result = boost::asio::error::timed_out;
        boost::asio::async_read(socket_, boost::asio::dynamic_buffer(bytes, size),
                                [&](boost::system::error_code error, size_t) { result = error; });
        io_.restart();
        io_.run_for(std::chrono::seconds(20));
        if (result == boost::asio::error::timed_out) {
            socket_.close();
            io_.run();
            return bytes + "TIMEOUT";
        }
        return result && result != boost::asio::error::eof ? bytes + "RESET" : bytes;
    }

    void endSending() { socket_.shutdown(boost::asio::ip::tcp::socket::shutdown_send); }

  private:
    boost::asio::io_context io_;
    boost::asio::ip::tcp::socket socket_;
};

inline std::string exchange(uint16_t port, std::string_view request) {
    TestClient client(port);
    client.send(request);
    return client.receiveAll();
}

}  // namespace host
