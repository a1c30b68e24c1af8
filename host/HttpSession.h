// A connection that has to be waited for: reads one request, has it answered, sends the answer and
// closes.
//
// A session runs on the event loop of its socket and lives as long as it has something to wait for;
// only the extension's part runs on a worker thread. A slow client costs a timer and memory, never
// a thread. Nothing is reported: a connection that fails just ends.
#pragma once

#include <memory>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>

#include "host/Request.h"
#include "host/SessionServices.h"
#include "host/Transaction.h"

namespace host {

/// Goes on where the transaction stands.
void startSession(boost::asio::ip::tcp::socket socket, std::unique_ptr<Transaction> transaction,
                  SessionServices& services);

void startTlsSession(boost::asio::ip::tcp::socket socket, ConnectionInfo connection,
                     boost::asio::ssl::context& tls, SessionServices& services);

}  // namespace host
