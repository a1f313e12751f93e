#include "qel/net/raw_sock.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <stdexcept>
#include <utility>
#include <vector>

namespace qel {

namespace {

std::error_code last_error() { return {errno, std::generic_category()}; }

void require(bool succeeded) {
  if (!succeeded) {
    throw std::system_error(last_error());
  }
}

void bind_to(int socket, int interface, std::uint16_t protocol) {
  sockaddr_ll address{};
  address.sll_family = AF_PACKET;
  address.sll_protocol = protocol;
  address.sll_ifindex = interface;
  address.sll_hatype = ARPHRD_ETHER;
  address.sll_pkttype = PACKET_OTHERHOST;
  require(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0);
}

/// A property of a frame other than its octets, as an offset from which a filter can load it.
constexpr std::uint32_t known(int property) { return static_cast<std::uint32_t>(SKF_AD_OFF + property); }

std::error_code attach_filter(int socket, const sock_fprog* program) {
  return ::setsockopt(socket, SOL_SOCKET, SO_ATTACH_FILTER, program, sizeof(sock_fprog)) == 0 ? std::error_code()
                                                                                              : last_error();
}

/// Of frames to other devices all without an address, else those to it.
std::vector<sock_filter> untagged_program(std::span<const unsigned short> ethertypes, const MACAddress* address) {
  constexpr std::uint32_t VLAN_ID = 0x0FFF;
  constexpr sock_filter REFUSE = BPF_STMT(BPF_RET | BPF_K, 0);
  std::vector<sock_filter> code = {BPF_STMT(BPF_LD | BPF_H | BPF_ABS, offsetof(ethhdr, h_proto))};
  for (std::size_t left = ethertypes.size(); left > 0; --left) {
    code.push_back(
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, ethertypes[ethertypes.size() - left], static_cast<std::uint8_t>(left), 0));
  }
  code.insert(code.end(), {REFUSE, BPF_STMT(BPF_LD | BPF_W | BPF_ABS, known(SKF_AD_PKTTYPE)),
                           BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, PACKET_OUTGOING, 0, 1), REFUSE});
  if (address != nullptr) {
    const auto octet = [&](std::size_t place) { return std::uint32_t{address->octets()[place]}; };
    code.insert(code.end(), {BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, PACKET_OTHERHOST, 0, 5),
                             BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(ethhdr, h_dest)),
                             BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K,
                                      octet(0) << 24U | octet(1) << 16U | octet(2) << 8U | octet(3), 0, 2),
                             BPF_STMT(BPF_LD | BPF_H | BPF_ABS, offsetof(ethhdr, h_dest) + 4),
                             BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, octet(4) << 8U | octet(5), 1, 0), REFUSE});
  }
  code.insert(code.end(),
              {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, known(SKF_AD_VLAN_TAG_PRESENT)),
               BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0, 2, 0), BPF_STMT(BPF_LD | BPF_W | BPF_ABS, known(SKF_AD_VLAN_TAG)),
               BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, VLAN_ID, 1, 0), BPF_STMT(BPF_RET | BPF_K, 0xFFFFFFFF), REFUSE});
  return code;
}

FileDescriptor open_filtered(unsigned int interface, std::vector<sock_filter> code) {
  const sock_fprog program{static_cast<unsigned short>(code.size()), code.data()};
  // Without a protocol, it receives nothing before it is bound.
  FileDescriptor socket(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0));
  require(socket.get() >= 0);
  require(!attach_filter(socket.get(), &program));
  // Saves the kernel a copy of each frame sent. Older kernels do not support it, and the filter does not need it.
  const int one = 1;
  ::setsockopt(socket.get(), SOL_PACKET, PACKET_IGNORE_OUTGOING, &one, sizeof(one));
  if (interface == 0) {  // 0 would mean all interfaces
    throw std::system_error(ENODEV, std::generic_category());
  }
  // For all protocols: to a socket for one protocol, the kernel gives frames without their VLAN, and none that a bridge
  // takes.
  bind_to(socket.get(), static_cast<int>(interface), htons(ETH_P_ALL));
  return socket;
}

}  // namespace

RawSock::RawSock(FileDescriptor&& socket, const std::string& ifname, const DataCallback& on_data,
                 const WritableCallback& on_writable)
    : ISimpleFDWatch(socket.get(), "RawSock:" + ifname),
      ifname_(ifname),
      data_callback_(on_data),
      writable_callback_(on_writable),
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
  // The platform must release the descriptor while it is still open.
  RawSock::remove_from_evsock();
}

FileDescriptor RawSock::open_untagged(unsigned int interface, unsigned short ethertype) {
  return open_filtered(interface, untagged_program({&ethertype, 1}, nullptr));
}

FileDescriptor RawSock::open_untagged(unsigned int interface, std::span<const unsigned short> ethertypes,
                                      const MACAddress& address) {
  return open_filtered(interface, untagged_program(ethertypes, &address));
}

void RawSock::init() {
  if (!ethertype_) {
    return;
  }
  FileDescriptor socket(::socket(AF_PACKET, SOCK_RAW, *ethertype_));
  require(socket.get() >= 0);
  require(::fcntl(socket.get(), F_SETFD, FD_CLOEXEC) == 0);

  ifreq request{};
  ifname_.copy(request.ifr_name, IFNAMSIZ - 1);
  require(::ioctl(socket.get(), SIOCGIFINDEX, &request) == 0);

  bind_to(socket.get(), request.ifr_ifindex, *ethertype_);
  require(::ioctl(socket.get(), SIOCGIFFLAGS, &request) == 0);
  request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_BROADCAST | IFF_MULTICAST);
  require(::ioctl(socket.get(), SIOCSIFFLAGS, &request) == 0);

  RawSock::remove_from_evsock();
  socket_ = std::move(socket);
  set_fd(socket_.get());
  if (is_nonblocking_) {
    set_nonblocking();
  }
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

unsigned int RawSock::get_interface() const {
  sockaddr_ll address{};
  socklen_t size = sizeof(address);
  const bool is_bound = ::getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
                        address.sll_family == AF_PACKET && address.sll_ifindex > 0;
  return is_bound ? static_cast<unsigned int>(address.sll_ifindex) : 0;
}

void RawSock::set_nonblocking() {
  is_nonblocking_ = true;
  ::fcntl(socket_.get(), F_SETFL, ::fcntl(socket_.get(), F_GETFL) | O_NONBLOCK);
}

std::error_code RawSock::accept_address(const MACAddress& address) {
  packet_mreq membership{};
  membership.mr_ifindex = static_cast<int>(get_interface());
  membership.mr_type = (address.octets()[0] & 1U) != 0 ? PACKET_MR_MULTICAST : PACKET_MR_UNICAST;
  membership.mr_alen = static_cast<unsigned short>(address.octets().size());
  std::copy(address.octets().begin(), address.octets().end(), std::begin(membership.mr_address));
  return ::setsockopt(socket_.get(), SOL_PACKET, PACKET_ADD_MEMBERSHIP, &membership, sizeof(membership)) == 0
             ? std::error_code()
             : last_error();
}

std::error_code RawSock::apply_filter(const sock_fprog* program) {
  const std::error_code error = attach_filter(socket_.get(), program);
  if (error) {
    remove_from_evsock();
    socket_.reset();
  }
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
  evsock* handle = ISimpleFDWatch::add_to_evsock_impl();
  if (is_nonblocking_) {  // the base class has made it blocking
    set_nonblocking();
  }
  return handle;
}

}  // namespace qel
