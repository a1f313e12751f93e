// Combines reported operating classes and channels into the channel that a radio operates on:
//
//     example_operating_channel 125/153 128/155
//     example_operating_channel 83/1                     40 MHz, and its primary channel
//     example_operating_channel 115/36 130/42 130/106    80+80 MHz

#include <cstdint>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>

#include "qel/ieee1905_1/operating_channel_conversion.h"

namespace {

using namespace qel;
using namespace qel::ieee1905_1;

OperatingClassChannel parse(const std::string& text) {
  std::istringstream in(text);
  unsigned opclass = 0;
  unsigned channel = 0;
  char slash = 0;
  if (!(in >> opclass >> slash >> channel) || slash != '/' || opclass > 255 || channel > 255 || in.get() != EOF) {
    throw std::invalid_argument("not CLASS/CHANNEL: " + text);
  }
  return {static_cast<std::uint8_t>(opclass), static_cast<std::uint8_t>(channel)};
}

}  // namespace

int main(int argc, char** argv) {
  OperatingChannelReportTLV report(MACAddress({0x02, 0x19, 0x05, 0xAA, 0x01, 0x10}));
  report.set_transmit_power_eirp(20);
  try {
    for (int i = 1; i < argc; ++i) {
      report.add_operating_class_channel(parse(argv[i]));
    }
    if (argc == 1) {
      report.add_operating_class_channel({83, 1});
    }
    const OperatingChannelConversion conversion;
    const ChannelInfo info = conversion.to_channel_info(report);
    std::cout << info << '\n' << conversion.to_report(report.get_radio_identifier(), info) << '\n';
  } catch (const std::invalid_argument& error) {  // not a channel, an unknown one, or parts of several channels
    std::cerr << error.what() << '\n';
    return 1;
  }
}
