// Prints the header of each untagged IEEE 1905.1 frame that arrives on an interface, and exits after a given number. As
// root:
//
//     example_packet_watch eth0 10
//
// The loop uses the IPC, so a message bus must be running.

#include <net/if.h>

#include <cstring>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>

#include "qel/daemon/mainloop.h"
#include "qel/ieee1905_1/cmdu.h"
#include "qel/net/ether_header.h"
#include "qel/net/raw_sock.h"

int main(int argc, char** argv) {
  using qel::ieee1905_1::CMDU_ETHERTYPE, qel::ieee1905_1::CMDU_MULTICAST_ADDRESS;
  if (argc != 3) {
    std::cerr << "usage: example_packet_watch INTERFACE COUNT\n";
    return 2;
  }
  try {
    qel::daemon::Mainloop loop("packet_watch", false);
    unsigned long expected = std::stoul(argv[2]);

    const auto on_frame = [&](const unsigned char* frame, unsigned int length) {
      if (length < sizeof(qel::EtherHeader) || length > qel::RawSock::MAX_FRAME_SIZE) {
        return;  // too short, or a read error
      }
      qel::EtherHeader header;
      std::memcpy(&header, frame, sizeof header);
      std::cout << header << std::dec << length << " octets" << std::endl;
      if (--expected == 0) {
        loop.finish();
      }
    };
    // Without a second callback, nothing happens when the socket can send again.
    const auto socket = std::make_shared<qel::RawSock>(
        qel::RawSock::open_untagged(if_nametoindex(argv[1]), CMDU_ETHERTYPE), argv[1], on_frame, nullptr);
    // The destination of discoveries; an interface accepts only the groups that were requested.
    if (const std::error_code error = socket->accept_address(CMDU_MULTICAST_ADDRESS)) {
      throw std::system_error(error, argv[1]);
    }
    loop.add_watch(socket);
    std::cout << "watching " << argv[1] << std::endl;

    loop.run_until_finished();
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
