// Prints the global operating classes:
//
//     example_operating_classes             the classes
//     example_operating_classes 116         the channels of one class

#include <cstdint>
#include <iostream>
#include <stdexcept>
#include <string>

#include "qel/channel/operating_class_deduction.h"

namespace {

using Deduction = qel::OperatingClassDeduction;

constexpr auto REGION = Deduction::Region::GLOBAL;

void list_classes() {
  for (const std::uint8_t opclass : Deduction::get_all_region_opclasses(REGION)) {
    std::cout << int{opclass} << ": " << Deduction::get_all_opclass_channels(opclass, REGION).size() << " channels"
              << (Deduction::is_secondary_segment(opclass, REGION) ? ", for the second segment" : "") << '\n';
  }
}

void list_channels(std::uint8_t opclass) {
  for (const std::uint8_t channel : Deduction::get_all_opclass_channels(opclass, REGION)) {
    std::cout << "channel " << int{channel} << " at " << Deduction::get_channel_frequency(channel, opclass, REGION)
              << '\n';
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc == 1) {
      list_classes();
    } else {
      const unsigned long opclass = std::stoul(argv[1]);
      list_channels(opclass <= 255 ? static_cast<std::uint8_t>(opclass) : 0);
    }
  } catch (const std::logic_error& error) {  // not a number, or no class of this number; there is no class 0
    std::cerr << argv[1] << ": " << error.what() << '\n';
    return 1;
  }
}
