// The listener for administrators: a few pages about the server, for this machine alone.
//
// It speaks as much HTTP as curl and monitoring need: GET, one request for each connection. Event
// loop only; a page may wait for something, a client may not take its time.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <boost/asio/awaitable.hpp>
#include <boost/asio/basic_socket_acceptor.hpp>
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/io_context.hpp>

#include "host/HostAnswer.h"

namespace host {

class AdminListener {
  public:
    using Page = std::function<boost::asio::awaitable<HostAnswer>()>;
    using Pages = std::map<std::string, Page, std::less<>>;

    AdminListener(boost::asio::io_context& io, Pages pages)
        : acceptor_(io), pages_(std::move(pages)) {}
    ~AdminListener() { close(); }

    /// Listens on "unix:PATH" or "ADDR:PORT", a loopback address. The directory of a
    /// socket is made when it is missing. Result: what went wrong, or nothing.
    std::optional<std::string> open(const std::string& where);
    void start();
    /// Also removes the socket's file.
    void close();

  private:
    using Protocol = boost::asio::generic::stream_protocol;

    std::optional<std::string> listenOn(const Protocol::endpoint& endpoint);
    boost::asio::awaitable<void> accept();
    boost::asio::awaitable<void> serve(std::shared_ptr<Protocol::socket> socket);
    boost::asio::awaitable<HostAnswer> answerTo(std::string head);

    boost::asio::basic_socket_acceptor<Protocol> acceptor_;
    Pages pages_;
    std::string socketFile_;
};

/// True for a text that names where to listen.
bool isAdminAddress(const std::string& where);

}  // namespace host
