#include "host/ServiceManager.h"

#include <charconv>
#include <chrono>
#include <cstdlib>

#include <boost/asio/buffer.hpp>
#include <boost/asio/local/datagram_protocol.hpp>

namespace host {

namespace asio = boost::asio;
using asio::local::datagram_protocol;
using boost::system::error_code;

namespace {

std::string_view environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string_view() : std::string_view(value);
}

}  // namespace

ServiceManager::ServiceManager(asio::io_context& io)
    : io_(io), socket_(environment("NOTIFY_SOCKET")), timer_(io) {
    // A name that is no path is written with "@" for its leading NUL.
    if (socket_.starts_with('@')) socket_[0] = '\0';
    const std::string_view period = environment("WATCHDOG_USEC");
    int64_t microseconds = 0;
    std::from_chars(period.data(), period.data() + period.size(), microseconds);
    signOfLife_ = std::chrono::microseconds(microseconds / 2);
}

void ServiceManager::ready() {
    tell("READY=1");
    if (signOfLife_.count() > 0) keepTelling();
}

void ServiceManager::reloading() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(now);
    tell("RELOADING=1\nMONOTONIC_USEC=" + std::to_string(microseconds.count()));
}

void ServiceManager::stopping() {
    timer_.cancel();
    tell("STOPPING=1");
}

void ServiceManager::keepTelling() {
    timer_.expires_after(signOfLife_);
    timer_.async_wait([this](error_code error) {
        if (error) return;
        tell("WATCHDOG=1");
        keepTelling();
    });
}

void ServiceManager::tell(std::string_view text) {
    constexpr size_t kLongestName = 107;
    if (socket_.empty() || socket_.size() > kLongestName) return;
    error_code error;
    datagram_protocol::socket socket(io_);
    socket.open(datagram_protocol(), error);
    if (!error) socket.non_blocking(true, error);
    if (!error) socket.send_to(asio::buffer(text), {socket_}, 0, error);
}

}  // namespace host
