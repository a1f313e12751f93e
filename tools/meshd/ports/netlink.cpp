#include "tools/meshd/ports/netlink.h"

#include <sys/socket.h>

#include <cerrno>
#include <system_error>

namespace meshd::netlink {

namespace {

/// As much as the kernel puts into one datagram, if there is room.
constexpr std::size_t DATAGRAM_SIZE = 16384;

void require(bool succeeded) {
  if (!succeeded) {
    throw std::system_error(errno, std::generic_category(), "netlink");
  }
}

}  // namespace

Request::Request(unsigned short type, unsigned short flags) {
  nlmsghdr header{};
  header.nlmsg_type = type;
  header.nlmsg_flags = static_cast<unsigned short>(flags | NLM_F_REQUEST);
  append(&header, sizeof(header));
}

void Request::append(const void* part, std::size_t size) {
  const auto* const octets = static_cast<const std::byte*>(part);
  octets_.insert(octets_.end(), octets, octets + size);
  octets_.resize(NLMSG_ALIGN(octets_.size()));
  const auto length = static_cast<decltype(nlmsghdr::nlmsg_len)>(octets_.size());
  std::memcpy(octets_.data() + offsetof(nlmsghdr, nlmsg_len), &length, sizeof(length));
}

Socket::Socket(unsigned int groups, int family) : socket_(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, family)) {
  require(socket_.get() >= 0);
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = groups;
  require(::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0);
}

void Socket::send(const Request& request) {
  const Octets octets = request.octets();
  require(::send(socket_.get(), octets.data(), octets.size(), 0) == static_cast<ssize_t>(octets.size()));
}

Socket::Result Socket::receive(bool waits, const Handler& handle) {
  std::byte octets[DATAGRAM_SIZE];
  sockaddr_nl sender{};
  socklen_t sender_size = sizeof(sender);
  const ssize_t size = ::recvfrom(socket_.get(), octets, sizeof(octets), waits ? 0 : MSG_DONTWAIT,
                                  reinterpret_cast<sockaddr*>(&sender), &sender_size);
  if (size < 0 && errno == ENOBUFS) {
    return Result::OVERRUN;
  }
  if (size < 0 && errno == EAGAIN) {
    return Result::NOTHING;
  }
  require(size >= 0 || errno == EINTR);
  if (size >= 0 && sender.nl_pid == 0) {  // only the kernel is believed
    for_each<nlmsghdr, &nlmsghdr::nlmsg_len>(
        Octets(octets, static_cast<std::size_t>(size)), [&](const nlmsghdr& header, Octets message) {
          // Both begin with an errno, negative or 0.
          const bool is_end = header.nlmsg_type == NLMSG_DONE || header.nlmsg_type == NLMSG_ERROR;
          const int error = is_end ? value_of<int>(message) : 0;
          if (error < 0) {
            throw std::system_error(-error, std::generic_category(), "netlink");
          }
          handle(header, message);
        });
  }
  return Result::RECEIVED;
}

void Socket::run(const Request& request) {
  send(request);
  for (bool is_done = false; !is_done;) {
    receive(true, [&](const nlmsghdr& header, Octets) { is_done = is_done || header.nlmsg_type == NLMSG_ERROR; });
  }
}

}  // namespace meshd::netlink
