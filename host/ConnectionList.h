// The open connections of a server, so that the end of service reaches those that wait for a
// request. On the event loop only.
#pragma once

#include <unordered_set>

namespace host {

class Connection {
  public:
    virtual ~Connection() = default;
    /// Closes the connection when nothing of a request has arrived on it yet.
    virtual void closeIfIdle() = 0;
};

class ConnectionList {
  public:
    void add(Connection& connection) { open_.insert(&connection); }
    void remove(Connection& connection) { open_.erase(&connection); }
    void closeIdle() {
        for (Connection* connection : open_) connection->closeIfIdle();
    }

  private:
    std::unordered_set<Connection*> open_;
};

}  // namespace host
