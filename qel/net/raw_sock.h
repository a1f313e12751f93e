#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <system_error>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/daemon/watches.h"
#include "qel/net/file_descriptor.h"

struct sock_fprog;

namespace qel {

/// A packet socket for the frames of one ethertype on one interface; a watch for the main loop, on whose thread all of
/// it runs.
///
/// The descriptor is the socket's own: it stays open when the watch is removed from the loop, and can then still send
/// or be added again, until the socket is destroyed. When the interface is removed the socket stays deaf, also if one
/// of the same name is made anew: get_interface() tells.
class QEL_EXPORT RawSock : public daemon::ISimpleFDWatch {
 public:
  /// Takes one frame, Ethernet header first. The octets are valid during the call; a length above MAX_FRAME_SIZE, in
  /// fact 4294967295, tells that reading failed (as it does once when the interface goes down) and that there are none.
  /// It may remove the socket from the loop but neither destroy it nor throw.
  using DataCallback = std::function<void(const unsigned char*, unsigned int)>;
  /// Called once after each registration, and once for each want_write(): after a send that the socket had no room for,
  /// say.
  using WritableCallback = std::function<void(RawSock&)>;

  /// An Ethernet frame without its check sequence. Of a longer one only this much is received.
  static constexpr unsigned int MAX_FRAME_SIZE = 1514;

  /// Takes the frames of all VLANs alike, with their tags taken off, none while the interface is port of a bridge, and
  /// those that came on any interface while it was being opened: open_untagged() does better. Needs CAP_NET_RAW, and
  /// CAP_NET_ADMIN to set the interface's flags. Either callback may be empty. `ethertype` is in host order. Throws
  /// std::invalid_argument for a name that is not 1 to 15 characters long, and what init throws.
  RawSock(const std::string& ifname, const DataCallback& on_data, const WritableCallback& on_writable,
          unsigned short ethertype);

  /// On a descriptor that is open already: each read gives a frame, each write sends one.
  RawSock(FileDescriptor&& socket, const std::string& ifname, const DataCallback& on_data,
          const WritableCallback& on_writable);

  ~RawSock() override;

  /// A packet socket that never holds any but the frames of one ethertype, in host order, that arrive on the interface
  /// of this number untagged or with a tag of VLAN 0, which gives a priority only and is taken off (IEEE 802.1Q-2022,
  /// 9.6). It takes them also while the interface is port of a bridge, and leaves the interface's flags alone:
  ///
  ///     RawSock socket(RawSock::open_untagged(if_nametoindex("eth0"), 0x893A), "eth0", on_data, on_writable);
  ///
  /// Needs CAP_NET_RAW. Throws std::system_error with the errno in the generic category, ENODEV for the number 0.
  static FileDescriptor open_untagged(unsigned int interface, unsigned short ethertype);

  /// Opens the socket, binds it and sets the interface's flags "broadcast" and "multicast"; the constructor has done
  /// so. What multicast the interface lets through is another matter, see accept_address(). Does nothing for a socket
  /// that was made on a descriptor. Throws std::system_error with the errno in the generic category, and leaves nothing
  /// open.
  void init();

  const std::string& get_ifname() const { return ifname_; }
  /// -1 once a filter was refused.
  int get_sock_fd() const { return socket_.get(); }
  /// The kernel's number of the interface; 0 once that is removed, and for what is no packet socket.
  unsigned int get_interface() const;

  /// Sends one whole frame, its header included. Success is 0 in the system category. A failure is the errno in the
  /// generic one, EMSGSIZE for more than MAX_FRAME_SIZE octets; a short write, which packet sockets do not know, is 0
  /// there. It waits while the kernel has no room, unless set_nonblocking() says otherwise.
  std::error_code send_data(const unsigned char* buf, unsigned int len);

  /// From now on, registered or not, sending fails with EAGAIN, or reading, where it would have to wait. Without it a
  /// link that is slower than what is sent over it stops the whole loop.
  void set_nonblocking();

  /// Has the interface let frames to `address` through, a device's or a group's, as long as the socket is open. An
  /// interface drops others, unless it does not filter at all. Success is 0 in the system category, a failure the errno
  /// in the generic one.
  std::error_code accept_address(const MACAddress& address);

  /// Attaches a classic packet filter. Success is 0 in the system category, a failure the errno in the generic one; it
  /// closes the socket, and this object is good for nothing then.
  std::error_code apply_filter(const sock_fprog* program);

  void on_readable() override;
  void on_writable() override;

 protected:
  evsock* add_to_evsock_impl() override;

 private:
  std::string ifname_;
  std::array<unsigned char, MAX_FRAME_SIZE> buffer_{};
  DataCallback data_callback_;
  WritableCallback writable_callback_;
  std::optional<std::uint16_t> ethertype_;  ///< in network order; nothing for a socket made on a descriptor
  bool is_nonblocking_ = false;
  FileDescriptor socket_;
};

}  // namespace qel
