#include "tools/meshd/entity/sender.h"

namespace meshd {

std::size_t Sender::send(std::size_t interface, const qel::MACAddress& destination,
                         const qel::ieee1905_1::Message& message) {
  const Codec::Frames& frames = codec_.encode(destination, al_mac_, message);
  for (const auto& frame : frames) {
    ports_.send(interface, frame);
  }
  return frames.size();
}

}  // namespace meshd
