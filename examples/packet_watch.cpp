// Prints the header of each IEEE 1905.1 frame on an interface, and ends after so many of them. As root:
//
//     example_packet_watch eth0 10
//
// The loop takes part in the IPC, so a message bus has to be running.

#include <cstring>
#include <exception>
#include <iostream>
#include <memory>
#include <string>

#include "qel/daemon/mainloop.h"
#include "qel/ieee1905_1/cmdu.h"
#include "qel/net/ether_header.h"
#include "qel/net/raw_sock.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: example_packet_watch INTERFACE COUNT\n";
    return 2;
  }
  try {
    qel::daemon::Mainloop loop("packet_watch", false);
    unsigned long expected = std::stoul(argv[2]);

    const auto on_frame = [&](const unsigned char* frame, unsigned int length) {
      if (length < sizeof(qel::EtherHeader) || length > qel::RawSock::MAX_FRAME_SIZE) {
        return;  // too short, or a failure to read
      }
      qel::EtherHeader header;
      std::memcpy(&header, frame, sizeof header);
      std::cout << header << std::dec << length << " octets" << std::endl;
      if (--expected == 0) {
        loop.finish();
      }
    };
    // Without a second callback nothing is done when the socket can send again.
    loop.add_watch(std::make_shared<qel::RawSock>(argv[1], on_frame, nullptr, qel::ieee1905_1::CMDU_ETHERTYPE));
    std::cout << "watching " << argv[1] << std::endl;

    loop.run_until_finished();
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
