// A connection that a client made, and the socket it came in by, for threads that do not wait for
// clients.
//
// What cannot be done at once, for whatever cause, yields nothing: then the connection is given to
// who can wait, and who finds the cause again, but for why a connection broke: of that the system
// tells once. A connection is used by one thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>
#include <system_error>

namespace platform {

/// As the system writes it.
struct SocketAddress {
    std::array<std::byte, 28> bytes{};
    size_t size = 0;
};

class ClientSocket {
  public:
    /// Takes a descriptor that does not block.
    explicit ClientSocket(int descriptor) : descriptor_(descriptor) {}
    ~ClientSocket();
    ClientSocket(ClientSocket&& other) noexcept : descriptor_(other.release()) {}
    ClientSocket& operator=(ClientSocket&&) = delete;

    /// How much of what has come is now in the room; never none. An error: the connection broke.
    std::optional<size_t> receive(std::span<char> room, std::error_code& error);
    /// How much of the two, one behind the other, the system has taken; never none.
    std::optional<size_t> send(std::string_view first, std::string_view second);
    /// False when something that came is left unread.
    bool hasReadAll() const;
    /// Of this side of the connection.
    std::optional<SocketAddress> localAddress() const;
    /// The descriptor, which is the caller's to close from then on.
    int release();

  private:
    int descriptor_;
};

/// Safe from every thread, but for its end.
class ListenerSocket {
  public:
    /// Takes a descriptor that listens. Clients are expected to speak first: of one that does not
    /// nothing is heard for some seconds.
    explicit ListenerSocket(int descriptor);
    ~ListenerSocket();
    ListenerSocket(const ListenerSocket&) = delete;
    ListenerSocket& operator=(const ListenerSocket&) = delete;

    struct Accepted {
        ClientSocket socket;
        SocketAddress remote;
    };
    /// Nothing, and no error, when there is no one.
    std::optional<Accepted> accept(std::error_code& error);
    /// Nobody can connect any more.
    void shutDown();

  private:
    friend class WaitingRoom;
    const int descriptor_;
};

}  // namespace platform
