// One listening socket: opens it, and hands over what connects or the socket itself. Event loop
// only.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include "host/ListenAddress.h"
#include "host/Request.h"

namespace host {

class Listener {
  public:
    /// Made for each connection.
    using Handler = std::function<void(boost::asio::ip::tcp::socket, ConnectionInfo)>;

    Listener(boost::asio::io_context& io, bool secure) : acceptor_(io), secure_(secure) {}

    /// Connections wait until start(). Result: what went wrong, or nothing.
    std::optional<std::string> open(const ListenAddress& where);
    /// Hands over connections until the listener is closed; it must outlive the event loop's work.
    void start(Handler handler);
    void close();
    /// The listening socket, which is the caller's from then on; before start().
    int release();

    bool secure() const { return secure_; }
    /// With the port that it really has.
    std::string url() const;
    const boost::asio::ip::tcp::endpoint& localEndpoint() const { return local_; }

  private:
    boost::asio::awaitable<void> accept();
    void handOver(boost::asio::ip::tcp::socket socket,
                  const boost::asio::ip::tcp::endpoint& remote);

    boost::asio::ip::tcp::acceptor acceptor_;
    boost::asio::ip::tcp::endpoint local_;
    const bool secure_;
    Handler handler_;
};

/// A connection by its ends.
ConnectionInfo describe(const boost::asio::ip::tcp::endpoint& remote,
                        const boost::asio::ip::tcp::endpoint& local, bool secure);

}  // namespace host
