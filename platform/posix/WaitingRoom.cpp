#include "platform/WaitingRoom.h"

#include <cerrno>
#include <cstdint>
#include <system_error>
#include <vector>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "platform/posix/Descriptor.h"

namespace platform {
namespace {

Descriptor orThrow(int descriptor) {
    if (descriptor >= 0) return Descriptor(descriptor);
    throw std::system_error(errno, std::generic_category(), "cannot wait for connections");
}

}  // namespace

struct WaitingRoom::Impl {
    void watch(int descriptor, ListenerSocket* listener) const;

    Descriptor bell = orThrow(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC));
    std::vector<Descriptor> seats;
};

void WaitingRoom::Impl::watch(int descriptor, ListenerSocket* listener) const {
    epoll_event event{};
    // Without "exclusive" each of them would wake all.
    event.events = EPOLLIN | EPOLLEXCLUSIVE;
    event.data.ptr = listener;
    for (const Descriptor& seat : seats) {
        if (::epoll_ctl(seat.get(), EPOLL_CTL_ADD, descriptor, &event) != 0) orThrow(-1);
    }
}

WaitingRoom::WaitingRoom(size_t seats) : impl_(std::make_unique<Impl>()) {
    for (size_t i = 0; i < seats; ++i) {
        impl_->seats.push_back(orThrow(::epoll_create1(EPOLL_CLOEXEC)));
    }
    impl_->watch(impl_->bell.get(), nullptr);
}

WaitingRoom::~WaitingRoom() = default;

void WaitingRoom::watch(ListenerSocket& listener) {
    impl_->watch(listener.descriptor_, &listener);
}

void WaitingRoom::call() {
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(impl_->bell.get(), &one, sizeof one);
}

WaitingRoom::Event WaitingRoom::wait(size_t seat, std::optional<std::chrono::milliseconds> time) {
    const int own = impl_->seats[seat].get();
    epoll_event event{};
    const int count = ::epoll_wait(own, &event, 1, time ? static_cast<int>(time->count()) : -1);
    if (count == 0) return {};
    // A signal or the like came in between; to look around does no harm.
    if (count < 0) return {Event::Kind::kCalled};
    auto* const listener = static_cast<ListenerSocket*>(event.data.ptr);
    if (listener == nullptr) {
        uint64_t calls = 0;
        [[maybe_unused]] const ssize_t size = ::read(impl_->bell.get(), &calls, sizeof calls);
        return {Event::Kind::kCalled};
    }
    if ((event.events & EPOLLHUP) == 0) return {Event::Kind::kConnection, listener};
    // It was shut down, and would say so for ever.
    ::epoll_ctl(own, EPOLL_CTL_DEL, listener->descriptor_, nullptr);
    return {Event::Kind::kCalled};
}

}  // namespace platform
