#include "qel/net/raw_sock.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/capability.h>
#include <linux/filter.h>
#include <net/if.h>
#include <poll.h>
#include <qelevsock.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/net/private_network.h"
#include "tests/support/testing.h"

namespace qel {
namespace {

using Octets = std::vector<unsigned char>;

constexpr unsigned short ETHERTYPE = 0x893A;
const MACAddress MULTICAST({0x01, 0x80, 0xC2, 0x00, 0x00, 0x13});
constexpr unsigned int FAILED = 4294967295;
constexpr int PATIENCE_MS = 5000;
const std::error_code SUCCESS(0, std::system_category());

std::error_code generic(int error) { return {error, std::generic_category()}; }

/// A broadcast from one end of the cable, with a payload that counts up from `first`.
Octets make_frame(std::size_t size, unsigned char first, unsigned short ethertype = ETHERTYPE) {
  Octets frame = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x02, 0x51, 0x4C, 0xAB, 0xCD, 0xEF};
  frame.insert(frame.end(), {static_cast<unsigned char>(ethertype >> 8U), static_cast<unsigned char>(ethertype)});
  while (frame.size() < size) {
    frame.push_back(first++);
  }
  return frame;
}

bool becomes_readable(int fd, int timeout_ms = PATIENCE_MS) {
  pollfd entry{fd, POLLIN, 0};
  return ::poll(&entry, 1, timeout_ms) == 1;
}

/// Returns the next frame; empty if none arrives.
Octets receive(const FileDescriptor& socket) {
  Octets frame(2000);
  const ssize_t size = becomes_readable(socket.get()) ? ::read(socket.get(), frame.data(), frame.size()) : 0;
  frame.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
  return frame;
}

void send(const FileDescriptor& socket, const Octets& frame) {
  ASSERT_EQ(::write(socket.get(), frame.data(), frame.size()), static_cast<ssize_t>(frame.size()));
}

/// Drops all effective capabilities of this process except these, or restores them.
void set_capabilities(std::uint32_t kept) {
  __user_cap_header_struct head{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct sets[2];
  ASSERT_EQ(::syscall(SYS_capget, &head, sets), 0);
  sets[0].effective = sets[0].permitted & kept;
  ASSERT_EQ(::syscall(SYS_capset, &head, sets), 0);
}

/// Stores what a socket passes on.
struct Receiver {
  std::vector<unsigned int> lengths;
  Octets frame;  ///< the last one
  RawSock::DataCallback callback() {
    return [this](const unsigned char* data, unsigned int length) {
      lengths.push_back(length);
      frame = length <= RawSock::MAX_FRAME_SIZE ? Octets(data, data + length) : Octets();
    };
  }
};

TEST(RawSock, HandsOnWhatReadingGaveAndSendsUpToTheLargestFrame) {
  int ends[2];
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
  FileDescriptor peer(ends[1]);
  Receiver receiver;
  RawSock sock(FileDescriptor{ends[0]}, "eth0", receiver.callback(), nullptr);
  send(peer, make_frame(60, 9));
  sock.on_readable();
  EXPECT_EQ(receiver.frame, make_frame(60, 9));
  send(peer, make_frame(1600, 3));
  sock.on_readable();
  EXPECT_EQ(receiver.frame, make_frame(1514, 3));
  EXPECT_EQ(sock.send_data(make_frame(1515, 1).data(), 1515), generic(EMSGSIZE));
  EXPECT_EQ(sock.send_data(make_frame(1514, 1).data(), 1514), SUCCESS);
  EXPECT_EQ(receive(peer), make_frame(1514, 1));
  EXPECT_EQ(sock.get_interface(), 0U);
  EXPECT_TRUE(sock.accept_address(MULTICAST));
  sock.init();
  EXPECT_EQ(sock.get_sock_fd(), ends[0]) << "it was made on this descriptor";
  peer.reset();
  sock.on_readable();
  RawSock(FileDescriptor(::open("/dev/null", O_WRONLY)), "eth0", receiver.callback(), nullptr).on_readable();
  EXPECT_THAT(receiver.lengths, ElementsAre(60, 1514, FAILED));

  // Nobody takes what it has.
  RawSock deaf(FileDescriptor(::open("/dev/zero", O_RDWR)), "eth0", nullptr, nullptr);
  deaf.on_readable();
  deaf.on_writable();
}

TEST(RawSock, RefusesANameThatNoInterfaceCanHave) {
  for (const std::string name : {"", "sixteen-letters!"}) {
    EXPECT_THAT([&] { RawSock(name, nullptr, nullptr, ETHERTYPE); },
                ThrowsMessage<std::invalid_argument>("interface name is not valid " + name));
  }
}

/// One end of a veth pair with a name of maximum length, shared by all tests of the process, in a private network
/// namespace.
class RawSockOnCable : public testing::Test {
 protected:
  static constexpr const char* NEAR = "near-end-of-15c";
  static constexpr const char* FAR = "far";

  void SetUp() override {
    if (const std::string& reason = test::enter_private_network(); !reason.empty()) {
      GTEST_SKIP() << reason;
    }
    if (::if_nametoindex(NEAR) == 0) {
      test::add_veth_pair(NEAR, FAR);
    }
    far_.emplace(test::open_packet_socket(FAR, ETHERTYPE));
  }

  RawSockOnCable() { evsock_init(); }
  ~RawSockOnCable() override { evsock_exit(); }

  /// Returns the next frame that the socket passes on.
  const Octets& taken_by(RawSock& sock) {
    EXPECT_TRUE(becomes_readable(sock.get_sock_fd()));
    sock.on_readable();
    return receiver_.frame;
  }
  std::shared_ptr<RawSock> open() { return std::make_shared<RawSock>(NEAR, receiver_.callback(), nullptr, ETHERTYPE); }

  std::optional<FileDescriptor> far_;
  Receiver receiver_;
};

TEST_F(RawSockOnCable, SendsAndReceivesFramesOfItsEthertype) {
  const auto sock = open();
  EXPECT_EQ(sock->get_name(), "RawSock:near-end-of-15c");
  EXPECT_EQ(sock->get_sock_fd(), sock->get_fd());
  send(*far_, make_frame(60, 1, 0x88CC));
  send(*far_, make_frame(60, 2, 0x3A89));
  send(*far_, make_frame(1514, 3));
  EXPECT_EQ(taken_by(*sock), make_frame(1514, 3));
  EXPECT_EQ(sock->send_data(make_frame(1514, 4).data(), 1514), SUCCESS);
  EXPECT_EQ(receive(*far_), make_frame(1514, 4));
  EXPECT_EQ(sock->send_data(make_frame(14, 4).data(), 13), generic(EINVAL));
}

TEST_F(RawSockOnCable, LeavesNothingOpenWhenItFails) {
  const auto open_near = [this] { open(); };
  const auto open_untagged = [] { RawSock::open_untagged(::if_nametoindex(NEAR), ETHERTYPE); };
  const struct {
    std::function<void()> open;
    std::uint32_t lacks;  ///< capabilities
    int error;
  } rows[] = {{[] { RawSock("nowhere", nullptr, nullptr, ETHERTYPE); }, 0, ENODEV},
              {open_near, 1U << CAP_NET_RAW, EPERM},
              {open_near, 1U << CAP_NET_ADMIN, EPERM},  // when it sets the flags
              {[] { RawSock::open_untagged(0, ETHERTYPE); }, 0, ENODEV},
              {open_untagged, 1U << CAP_NET_RAW, EPERM},
              {open_untagged, 1U << CAP_NET_ADMIN, 0}};
  const int before = test::next_descriptor();
  for (const auto& row : rows) {
    int error = 0;
    set_capabilities(~row.lacks);
    try {
      row.open();
    } catch (const std::system_error& failure) {
      error = failure.code() == generic(failure.code().value()) ? failure.code().value() : -1;
    }
    set_capabilities(~0U);
    EXPECT_EQ(error, row.error) << &row - rows;
    EXPECT_EQ(test::next_descriptor(), before) << &row - rows;
  }
}

TEST_F(RawSockOnCable, TakesFramesOfOthersForItAlsoOnAPortOfABridge) {
  test::ip("link add bridge type bridge");
  test::ip("link set bridge up");
  test::ip("link set " + std::string(NEAR) + " master bridge");
  const unsigned int interface = ::if_nametoindex(NEAR);
  RawSock sock(RawSock::open_untagged(interface, ETHERTYPE), NEAR, receiver_.callback(), nullptr);
  EXPECT_EQ(sock.get_interface(), interface);
  send(test::open_packet_socket(NEAR, ETHERTYPE), make_frame(60, 1));
  send(*far_, make_frame(60, 2, 0x88CC));
  send(*far_, make_frame(60, 3));
  EXPECT_EQ(taken_by(sock), make_frame(60, 3));

  const unsigned short ethertypes[] = {0x0800, ETHERTYPE, 0x88CC};
  const MACAddress address({0x02, 0x19, 0x05, 0xBB, 0x00, 0x01});
  RawSock picky(RawSock::open_untagged(interface, ethertypes, address), NEAR, receiver_.callback(), nullptr);
  const auto send_to = [&](const MACAddress& destination, std::uint16_t ethertype) {
    Octets frame = make_frame(60, 5, ethertype);
    std::copy(destination.octets().begin(), destination.octets().end(), frame.begin());
    send(*far_, frame);
    return frame;
  };
  send_to(address, 0x88CD);
  for (const std::size_t place : {0U, 3U, 4U, 5U}) {
    MACAddress other = address;
    other.octets()[place] = static_cast<std::uint8_t>(other.octets()[place] ^ 0x40U);
    send_to(other, ETHERTYPE);
  }
  for (const Octets& ours : {send_to(address, 0x88CC), send_to(MULTICAST, ETHERTYPE)}) {
    EXPECT_EQ(taken_by(picky), ours);
  }
  test::remove_interface("bridge");
}

TEST_F(RawSockOnCable, HasTheInterfaceLetAnAddressThroughAsLongAsThereIsOne) {
  const std::string is_let_through = "maddress show dev passing | grep -q 01:80:c2:00:00:13";
  test::add_veth_pair("passing", "peer");
  RawSock sock(RawSock::open_untagged(::if_nametoindex("passing"), ETHERTYPE), "passing", nullptr, nullptr);
  EXPECT_THROW(test::ip(is_let_through), std::runtime_error);
  EXPECT_EQ(sock.accept_address(MULTICAST), SUCCESS);
  EXPECT_NO_THROW(test::ip(is_let_through));
  test::remove_interface("passing");
  EXPECT_EQ(sock.get_interface(), 0U);
  EXPECT_EQ(sock.accept_address(MULTICAST), generic(ENODEV));
}

TEST_F(RawSockOnCable, SetsTheFlagsOfTheInterfaceAndHandsOnThatItWentDown) {
  const std::string link = "link set " + std::string(NEAR);
  test::ip(link + " multicast off");
  const auto sock = open();
  EXPECT_NO_THROW(test::ip("link show " + std::string(NEAR) + " | grep -q '<BROADCAST,MULTICAST,UP,LOWER_UP>'"));
  test::ip(link + " down");
  EXPECT_THAT(taken_by(*sock), IsEmpty());
  test::ip(link + " up");
  EXPECT_THAT(receiver_.lengths, ElementsAre(FAILED));
}

TEST_F(RawSockOnCable, TakesOnlyWhatItsFilterLetsPass) {
  // The first octet after the header must be 0x42.
  sock_filter code[] = {
      BPF_STMT(BPF_LD | BPF_B | BPF_ABS, 14),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0x42, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, 0xFFFF),
      BPF_STMT(BPF_RET | BPF_K, 0),
  };
  sock_fprog program{4, code};
  const auto sock = open();
  EXPECT_EQ(sock->apply_filter(&program), SUCCESS);
  send(*far_, make_frame(60, 0x41));
  send(*far_, make_frame(60, 0x42));
  EXPECT_EQ(taken_by(*sock), make_frame(60, 0x42));

  const int fd = sock->get_sock_fd();
  program.len = 1;  // ends without a return instruction
  EXPECT_EQ(sock->apply_filter(&program), generic(EINVAL));
  EXPECT_EQ(::fcntl(fd, F_GETFD), -1) << "it is closed";
  EXPECT_EQ(sock->get_fd(), -1);
  EXPECT_EQ(sock->send_data(receiver_.frame.data(), 60), generic(EBADF));
}

TEST_F(RawSockOnCable, IsCalledWhileItIsRegisteredAndKeepsItsDescriptorAfterwards) {
  const auto turn_until_received = [&](std::size_t count) {
    for (int turn = 0; turn < 10 && receiver_.lengths.size() < count; ++turn) {
      evsock_select_with_msecs(PATIENCE_MS);
    }
    evsock_select_with_msecs(0);
  };
  const RawSock* writable = nullptr;
  std::shared_ptr<RawSock> sock;
  const auto on_data = [&](const unsigned char* data, unsigned int length) {
    receiver_.callback()(data, length);
    if (length == 62) {
      sock->remove_from_evsock();
    }
  };
  sock = std::make_shared<RawSock>(
      NEAR, on_data, [&](RawSock& caller) { writable = &caller; }, ETHERTYPE);
  const int fd = sock->get_sock_fd();
  sock->add_to_evsock();
  EXPECT_EQ(::fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
  for (const std::size_t length : {60U, 61U, 62U, 63U}) {
    send(*far_, make_frame(length, 1));
  }
  turn_until_received(3);
  EXPECT_THAT(receiver_.lengths, ElementsAre(60, 61, 62)) << "frames that arrive later wait";
  EXPECT_EQ(writable, sock.get());
  EXPECT_EQ(sock->get_fd(), -1);
  EXPECT_EQ(sock->send_data(make_frame(60, 4).data(), 60), SUCCESS);
  EXPECT_EQ(receive(*far_), make_frame(60, 4));
  sock->set_nonblocking();
  sock->add_to_evsock();
  EXPECT_NE(::fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
  turn_until_received(4);
  EXPECT_THAT(receiver_.lengths, ElementsAre(60, 61, 62, 63));

  sock.reset();
  EXPECT_EQ(::fcntl(fd, F_GETFD), -1) << "it is closed";
}

}  // namespace
}  // namespace qel
