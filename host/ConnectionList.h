// The open connections of a server, those that still wait for the head of a request in the order
// in which they came: so that the end of service and a lack of room reach them. Event loop only.
#pragma once

#include <cstddef>
#include <list>

namespace host {

class Connection {
  public:
    virtual ~Connection() = default;
    virtual void close() = 0;

  private:
    friend class ConnectionList;
    bool waiting_ = false;
    std::list<Connection*>::iterator place_;
};

class ConnectionList {
  public:
    void add(Connection& connection) {
        ++size_;
        connection.waiting_ = true;
        connection.place_ = waiting_.insert(waiting_.end(), &connection);
    }
    /// The head of its request is there, or refused.
    void endWait(Connection& connection) {
        if (connection.waiting_) waiting_.erase(connection.place_);
        connection.waiting_ = false;
    }
    void remove(Connection& connection) {
        endWait(connection);
        --size_;
    }
    size_t size() const { return size_; }

    /// Closes those that no whole head has come on.
    void closeWaiting() {
        for (Connection* connection : waiting_) connection->close();
    }
    /// Makes room by closing the one that has waited longest; false when none waits.
    bool closeOldest() {
        if (waiting_.empty()) return false;
        Connection* oldest = waiting_.front();
        endWait(*oldest);
        oldest->close();
        return true;
    }

  private:
    std::list<Connection*> waiting_;
    size_t size_ = 0;
};

}  // namespace host
