#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <system_error>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/daemon/watches.h"
#include "qel/net/file_descriptor.h"

struct sock_fprog;

namespace qel {

/// A packet socket for the frames of one ethertype on one interface. It is a watch, used only on the main loop's
/// thread.
///
/// The socket owns its descriptor, which stays open until the socket is destroyed: after the watch is removed from the
/// loop, it can still send, or be added again. If the interface is removed, the socket receives nothing more, even if a
/// new interface has the same name; get_interface() shows this.
class QEL_EXPORT RawSock : public daemon::ISimpleFDWatch {
 public:
  /// Receives one frame, including its Ethernet header. The octets are valid during the call. A length above
  /// MAX_FRAME_SIZE (in fact 4294967295) means that reading failed and there are no octets; this happens once when the
  /// interface goes down. The callback may remove the socket from the loop, but must neither destroy it nor throw.
  using DataCallback = std::function<void(const unsigned char*, unsigned int)>;
  /// Called once after each registration, and once for each want_write(), for example after a send for which the socket
  /// had no room.
  using WritableCallback = std::function<void(RawSock&)>;

  /// An Ethernet frame without its check sequence. Longer frames are truncated to this size when received.
  static constexpr unsigned int MAX_FRAME_SIZE = 1514;

  /// Receives the frames of all VLANs with their tags removed, no frames while the interface is a bridge port, and
  /// frames that arrived on any interface while the socket was being opened; open_untagged() avoids all three. Needs
  /// CAP_NET_RAW, and CAP_NET_ADMIN to set the interface's flags. Either callback may be empty. `ethertype` is in host
  /// order. Throws as init does, and std::invalid_argument if the name is not 1 to 15 characters long.
  RawSock(const std::string& ifname, const DataCallback& on_data, const WritableCallback& on_writable,
          unsigned short ethertype);

  /// Uses a descriptor that is already open: each read returns a frame, each write sends one.
  RawSock(FileDescriptor&& socket, const std::string& ifname, const DataCallback& on_data,
          const WritableCallback& on_writable);

  ~RawSock() override;

  /// Opens a packet socket that receives only frames of one ethertype (in host order) that arrive on the interface with
  /// this index, untagged or with a tag for VLAN 0. Such a tag carries only a priority and is removed (IEEE
  /// 802.1Q-2022, 9.6). The socket also receives while the interface is a bridge port, and does not change the
  /// interface's flags:
  ///
  ///     RawSock socket(RawSock::open_untagged(if_nametoindex("eth0"), 0x893A), "eth0", on_data, on_writable);
  ///
  /// Needs CAP_NET_RAW. Throws std::system_error with the errno in the generic category; ENODEV for index 0.
  static FileDescriptor open_untagged(unsigned int interface, unsigned short ethertype);

  /// The same for up to 32 ethertypes. Of the frames sent to other devices, which a bridge port receives in numbers,
  /// the socket takes only those for `address`.
  static FileDescriptor open_untagged(unsigned int interface, std::span<const unsigned short> ethertypes,
                                      const MACAddress& address);

  /// Opens and binds the socket, and sets the interface's flags "broadcast" and "multicast"; the constructor has
  /// already called it. To receive further multicast groups, see accept_address(). Does nothing for a socket
  /// constructed from a descriptor. Throws std::system_error with the errno in the generic category, and leaves nothing
  /// open.
  void init();

  const std::string& get_ifname() const { return ifname_; }
  /// -1 after a filter was refused.
  int get_sock_fd() const { return socket_.get(); }
  /// The kernel's index of the interface; 0 after it is removed, and if the descriptor is not a packet socket.
  unsigned int get_interface() const;

  /// Sends one whole frame, including its header. Returns 0 in the system category on success. A failure is the errno
  /// in the generic category, EMSGSIZE for more than MAX_FRAME_SIZE octets; a short write, which packet sockets never
  /// make, is 0 in that category. Blocks while the kernel has no room, unless set_nonblocking() was called.
  std::error_code send_data(const unsigned char* buf, unsigned int len);

  /// Makes sending and reading fail with EAGAIN instead of blocking, whether registered or not. Without it, a link that
  /// is slower than the traffic stops the whole loop.
  void set_nonblocking();

  /// Makes the interface accept frames to `address`, individual or group, while the socket is open. Otherwise the
  /// interface drops frames to other addresses, unless it does not filter. Returns 0 in the system category on success,
  /// the errno in the generic category on failure.
  std::error_code accept_address(const MACAddress& address);

  /// Attaches a classic packet filter. Returns 0 in the system category on success, the errno in the generic category
  /// on failure; a failure closes the socket and makes this object unusable.
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
  std::optional<std::uint16_t> ethertype_;  ///< in network order; empty for a socket constructed from a descriptor
  bool is_nonblocking_ = false;
  FileDescriptor socket_;
};

}  // namespace qel
