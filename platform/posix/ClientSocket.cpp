#include "platform/ClientSocket.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr int kSilentSeconds = 1;

std::optional<size_t> unlessNone(ssize_t count) {
    if (count <= 0) return std::nullopt;
    return static_cast<size_t>(count);
}

iovec piece(std::string_view text) {
    return {const_cast<char*>(text.data()), text.size()};
}

/// A call that fills in an address, for a socket of the Internet.
template <typename Call>
int withAddress(SocketAddress& address, Call call) {
    sockaddr_storage storage{};
    socklen_t size = sizeof storage;
    const int result = call(reinterpret_cast<sockaddr*>(&storage), &size);
    if (result < 0) return result;
    address.size = std::min<size_t>(size, address.bytes.size());
    std::memcpy(address.bytes.data(), &storage, address.size);
    return result;
}

}  // namespace

ClientSocket::~ClientSocket() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

std::optional<size_t> ClientSocket::receive(std::span<char> room, std::error_code& error) {
    error.clear();
    const ssize_t count = ::recv(descriptor_, room.data(), room.size(), 0);
    if (count < 0 && errno != EAGAIN && errno != EINTR) error.assign(errno, std::system_category());
    return unlessNone(count);
}

std::optional<size_t> ClientSocket::send(std::string_view first, std::string_view second) {
    std::array<iovec, 2> pieces{piece(first), piece(second)};
    msghdr message{};
    message.msg_iov = pieces.data();
    message.msg_iovlen = pieces.size();
    return unlessNone(::sendmsg(descriptor_, &message, MSG_NOSIGNAL));
}

bool ClientSocket::hasReadAll() const {
    int unread = 0;
    return ::ioctl(descriptor_, FIONREAD, &unread) == 0 && unread == 0;
}

std::optional<SocketAddress> ClientSocket::localAddress() const {
    SocketAddress address;
    const int result = withAddress(address, [this](sockaddr* name, socklen_t* size) {
        return ::getsockname(descriptor_, name, size);
    });
    if (result < 0) return std::nullopt;
    return address;
}

int ClientSocket::release() {
    return std::exchange(descriptor_, -1);
}

ListenerSocket::ListenerSocket(int descriptor) : descriptor_(descriptor) {
    // Several threads may go for the same connection. A system that cannot hold back those who are
    // silent tells of them at once.
    ::fcntl(descriptor_, F_SETFL, ::fcntl(descriptor_, F_GETFL) | O_NONBLOCK);
    ::setsockopt(descriptor_, IPPROTO_TCP, TCP_DEFER_ACCEPT, &kSilentSeconds,
                 sizeof kSilentSeconds);
}

ListenerSocket::~ListenerSocket() {
    ::close(descriptor_);
}

std::optional<ListenerSocket::Accepted> ListenerSocket::accept(std::error_code& error) {
    error.clear();
    SocketAddress remote;
    const int descriptor = withAddress(remote, [this](sockaddr* name, socklen_t* size) {
        return ::accept4(descriptor_, name, size, SOCK_NONBLOCK | SOCK_CLOEXEC);
    });
    if (descriptor < 0) {
        // EINVAL: it was shut down.
        const bool noOne =
            errno == EAGAIN || errno == ECONNABORTED || errno == EINTR || errno == EINVAL;
        if (!noOne) error.assign(errno, std::generic_category());
        return std::nullopt;
    }
    return Accepted{ClientSocket(descriptor), remote};
}

void ListenerSocket::shutDown() {
    ::shutdown(descriptor_, SHUT_RDWR);
}

}  // namespace platform
