#include "qel/net/raw_sock.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace qel {

namespace {

std::error_code last_error() { return {errno, std::generic_category()}; }

void require(bool succeeded) {
  if (!succeeded) {
    throw std::system_error(last_error());
  }
}

}  // namespace

RawSock::RawSock(FileDescriptor&& socket, const std::string& ifname, const DataCallback& on_data,
                 const WritableCallback& on_writable)
    : ISimpleFDWatch(socket.get(), "RawSock:" + ifname),
      ifname_(ifname),
      data_callback_(on_data),
      writable_callback_(on_writable),
      ethertype_(0),
      socket_(std::move(socket)) {}

RawSock::RawSock(const std::string& ifname, const DataCallback& on_data, const WritableCallback& on_writable,
                 unsigned short ethertype)
    : RawSock(FileDescriptor(), ifname, on_data, on_writable) {
  ethertype_ = htons(ethertype);
  if (ifname.empty() || ifname.size() >= IFNAMSIZ) {
    throw std::invalid_argument("interface name is not valid " + ifname);
  }
  RawSock::init();
}

RawSock::~RawSock() {
  // The platform lets go of the descriptor while it is still open.
  RawSock::remove_from_evsock();
}

void RawSock::init() {
  FileDescriptor socket(::socket(AF_PACKET, SOCK_RAW, ethertype_));
  require(socket.get() >= 0);
  require(::fcntl(socket.get(), F_SETFD, FD_CLOEXEC) == 0);

  ifreq request{};
  ifname_.copy(request.ifr_name, IFNAMSIZ - 1);
  require(::ioctl(socket.get(), SIOCGIFINDEX, &request) == 0);

  sockaddr_ll address{};
  address.sll_family = AF_PACKET;
  address.sll_protocol = ethertype_;
  address.sll_ifindex = request.ifr_ifindex;
  address.sll_hatype = ARPHRD_ETHER;
  address.sll_pkttype = PACKET_OTHERHOST;
  require(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0);

  require(::ioctl(socket.get(), SIOCGIFFLAGS, &request) == 0);
  request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_BROADCAST | IFF_MULTICAST);
  require(::ioctl(socket.get(), SIOCSIFFLAGS, &request) == 0);

  RawSock::remove_from_evsock();
  socket_ = std::move(socket);
  set_fd(socket_.get());
}

std::error_code RawSock::send_data(const unsigned char* buf, unsigned int len) {
  if (len > MAX_FRAME_SIZE) {
    return std::make_error_code(std::errc::message_size);
  }
  errno = 0;
  if (::write(socket_.get(), buf, len) == static_cast<ssize_t>(len)) {
    return {};
  }
  return last_error();
}

std::error_code RawSock::apply_filter(const sock_fprog* program) {
  if (::setsockopt(socket_.get(), SOL_SOCKET, SO_ATTACH_FILTER, program, sizeof(sock_fprog)) == 0) {
    return {};
  }
  const std::error_code error = last_error();
  remove_from_evsock();
  socket_.reset();
  return error;
}

void RawSock::on_readable() {
  const ssize_t length = ::read(socket_.get(), buffer_.data(), buffer_.size());
  if (data_callback_ && length != 0) {
    data_callback_(buffer_.data(), static_cast<unsigned int>(length));
  }
}

void RawSock::on_writable() {
  if (writable_callback_) {
    writable_callback_(*this);
  }
}

evsock* RawSock::add_to_evsock_impl() {
  set_fd(socket_.get());
  return ISimpleFDWatch::add_to_evsock_impl();
}

}  // namespace qel
