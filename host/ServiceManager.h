// Tells the service manager that started this program how it is: systemd's notification protocol,
// one datagram to the socket named by NOTIFY_SOCKET, and a sign of life as often as WATCHDOG_USEC
// asks for. Without these variables nothing is told. Event loop only; what cannot be told is lost.
#pragma once

#include <string>
#include <string_view>

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

namespace host {

class ServiceManager {
  public:
    explicit ServiceManager(boost::asio::io_context& io);

    /// Serving; at the start and after each reload.
    void ready();
    void reloading();
    void stopping();

  private:
    void tell(std::string_view text);
    void keepTelling();

    boost::asio::io_context& io_;
    std::string socket_;
    std::chrono::microseconds signOfLife_{0};
    boost::asio::steady_timer timer_;
};

}  // namespace host
