#include "tools/meshd/wifi/nl80211_socket.h"

#include <netlink/errno.h>
#include <netlink/genl/ctrl.h>
#include <netlink/genl/genl.h>
#include <netlink/netlink.h>
#include <netlink/socket.h>

#include <cerrno>
#include <cstdlib>
#include <new>
#include <optional>
#include <system_error>

namespace meshd::wifi {

namespace {

/// The kernel writes no larger datagrams.
constexpr std::size_t DATAGRAM_SIZE = 32768;
/// Room for the events that arrive while the loop is busy.
constexpr int EVENT_BUFFER_SIZE = 256 * 1024;

[[noreturn]] void fail(int error) { throw std::system_error(error, std::generic_category(), "nl80211"); }

/// The errno for an error of libnl, if it can occur here.
int errno_of(int error) {
  switch (-error) {
    case NLE_OBJ_NOTFOUND:
      return ENOENT;
    case NLE_AGAIN:
      return EAGAIN;
    case NLE_NOMEM:  // libnl returns it for ENOBUFS as well
      return ENOBUFS;
    case NLE_PERM:
    case NLE_NOACCESS:
      return EPERM;
    case NLE_NODEV:
      return ENODEV;
    case NLE_BUSY:
      return EBUSY;
    case NLE_INTR:
      return EINTR;
    default:
      return EIO;
  }
}

int require(int result) {
  if (result < 0) {
    fail(errno_of(result));
  }
  return result;
}

using NlMessage = std::unique_ptr<nl_msg, void (*)(nl_msg*)>;

}  // namespace

Nl80211Socket::Nl80211Socket(bool with_events) : socket_(nl_socket_alloc(), nl_socket_free) {
  if (!socket_) {
    throw std::bad_alloc();
  }
  nl_socket_disable_auto_ack(socket_.get());
  require(genl_connect(socket_.get()));
  require(nl_socket_set_msg_buf_size(socket_.get(), DATAGRAM_SIZE));
  // The kernel answers before the sending call returns, so this does not wait.
  family_ = require(genl_ctrl_resolve(socket_.get(), NL80211_GENL_NAME));
  if (with_events) {
    require(nl_socket_set_buffer_size(socket_.get(), EVENT_BUFFER_SIZE, 0));
    for (const char* const group :
         {NL80211_MULTICAST_GROUP_CONFIG, NL80211_MULTICAST_GROUP_MLME, NL80211_MULTICAST_GROUP_REG}) {
      const int number = require(genl_ctrl_resolve_grp(socket_.get(), NL80211_GENL_NAME, group));
      require(nl_socket_add_membership(socket_.get(), number));
    }
  }
  require(nl_socket_set_nonblocking(socket_.get()));
}

int Nl80211Socket::get_fd() const { return nl_socket_get_fd(socket_.get()); }

void Nl80211Socket::ask_all(nl80211_commands command, std::uint32_t interface) {
  const NlMessage message(nlmsg_alloc(), nlmsg_free);
  if (!message ||
      genlmsg_put(message.get(), NL_AUTO_PORT, NL_AUTO_SEQ, family_, 0, NLM_F_DUMP, command, 0) == nullptr) {
    throw std::bad_alloc();
  }
  if (interface != 0) {
    require(nla_put_u32(message.get(), NL80211_ATTR_IFINDEX, interface));
  }
  if (command == NL80211_CMD_GET_WIPHY) {
    require(nla_put_flag(message.get(), NL80211_ATTR_SPLIT_WIPHY_DUMP));
  }
  is_interrupted_ = false;
  require(nl_send_auto(socket_.get(), message.get()));
}

void Nl80211Socket::limit_power(std::uint32_t wiphy, int dbm) {
  const NlMessage message(nlmsg_alloc(), nlmsg_free);
  if (!message || genlmsg_put(message.get(), NL_AUTO_PORT, NL_AUTO_SEQ, family_, 0, NLM_F_ACK, NL80211_CMD_SET_WIPHY,
                              0) == nullptr) {
    throw std::bad_alloc();
  }
  require(nla_put_u32(message.get(), NL80211_ATTR_WIPHY, wiphy));
  require(nla_put_u32(message.get(), NL80211_ATTR_WIPHY_TX_POWER_SETTING, NL80211_TX_POWER_LIMITED));
  require(nla_put_u32(message.get(), NL80211_ATTR_WIPHY_TX_POWER_LEVEL, static_cast<std::uint32_t>(100 * dbm)));
  require(nl_send_auto(socket_.get(), message.get()));
  int error = EAGAIN;
  receive([&](const Received& answer) { error = answer.error; });
  if (error != 0) {
    fail(error);
  }
}

Nl80211Socket::Result Nl80211Socket::receive(const Handler& handle) {
  sockaddr_nl sender{};
  unsigned char* octets = nullptr;
  const int size = nl_recv(socket_.get(), &sender, &octets, nullptr);
  const std::unique_ptr<unsigned char, void (*)(void*)> owner(octets, std::free);
  if (size == -NLE_AGAIN || size == -NLE_INTR || size == 0) {
    return Result::NOTHING;
  }
  if (size == -NLE_NOMEM) {
    return Result::OVERRUN;
  }
  require(size);
  if (sender.nl_pid != 0) {  // not from the kernel
    return Result::RECEIVED;
  }
  const Octets datagram(reinterpret_cast<const std::byte*>(octets), static_cast<std::size_t>(size));
  if (tap_) {
    tap_(datagram);
  }
  netlink::for_each<nlmsghdr, &nlmsghdr::nlmsg_len>(
      datagram, [&](const nlmsghdr& header, Octets message) { take(header, message, handle); });
  return Result::RECEIVED;
}

void Nl80211Socket::take(const nlmsghdr& header, Octets octets, const Handler& handle) {
  is_interrupted_ = is_interrupted_ || (header.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
  if (header.nlmsg_type == NLMSG_DONE || header.nlmsg_type == NLMSG_ERROR) {
    // Both begin with a negative errno, or 0.
    int error = 0;
    wifi::take(octets, error);
    if (error < 0) {
      handle({.kind = Kind::REFUSED, .message = {}, .error = -error});
    } else {
      handle({.kind = is_interrupted_ ? Kind::INTERRUPTED : Kind::DONE, .message = {}});
    }
  } else if (header.nlmsg_type == family_) {
    if (const std::optional<Message> message = message_of(octets)) {
      handle({.kind = Kind::MESSAGE, .message = *message});
    }
  }
}

}  // namespace meshd::wifi
