#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <system_error>

#include "qel/core/export.h"
#include "qel/daemon/watches.h"
#include "qel/net/file_descriptor.h"

struct sock_fprog;

namespace qel {

/// A packet socket for the frames of one ethertype on one interface; a watch for the main loop, on whose thread all of
/// it runs. Needs CAP_NET_RAW to open and CAP_NET_ADMIN to set the interface's flags.
///
/// The descriptor is the socket's own: it stays open when the watch is removed from the loop, and can then still send
/// or be added again, until the socket is destroyed.
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

  /// Either callback may be empty. `ethertype` is in host order. Throws std::invalid_argument for a name that is not 1
  /// to 15 characters long, and what init throws.
  RawSock(const std::string& ifname, const DataCallback& on_data, const WritableCallback& on_writable,
          unsigned short ethertype);

  /// On a descriptor that is open already, in place of a packet socket: each read gives a frame, each write sends one.
  RawSock(FileDescriptor&& socket, const std::string& ifname, const DataCallback& on_data,
          const WritableCallback& on_writable);

  ~RawSock() override;

  /// Opens the socket, binds it and makes the interface take broadcast and multicast frames; the constructor has done
  /// so. Throws std::system_error with the errno in the generic category, and leaves nothing open.
  void init();

  const std::string& get_ifname() const { return ifname_; }
  /// -1 once a filter was refused.
  int get_sock_fd() const { return socket_.get(); }

  /// Sends one whole frame, its header included. Success is 0 in the system category. A failure is the errno in the
  /// generic one, EMSGSIZE for more than MAX_FRAME_SIZE octets; a short write, which packet sockets do not know, is 0
  /// there.
  std::error_code send_data(const unsigned char* buf, unsigned int len);

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
  std::uint16_t ethertype_;  ///< in network order
  FileDescriptor socket_;
};

}  // namespace qel
