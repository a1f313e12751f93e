#include "qel/net/mac_provisioning.h"

#include <algorithm>
#include <cstdint>
#include <random>
#include <stdexcept>

#include "qel/core/vendor_oui.h"
#include "velolib.h"

namespace qel {

MACAProvider& MACAProvider::get() {
  static MACAProvider instance;
  return instance;
}

MACAProvider::MACAProvider() {
  const char* const maca = kelvar_getenv("maca");
  if (maca == nullptr) {
    throw std::runtime_error("kelvar_getenv() did not yield maca");
  }
  mac_a_ = MACAddress(maca);
}

MACAddress generate_random_qel_mac_address() {
  std::random_device device("default");
  std::minstd_rand0 engine(device());  // the constructor reduces the seed by the modulus and replaces 0 with 1
  std::uniform_int_distribution<unsigned int> octet(0, 255);
  MACAddress address;
  const auto random = std::copy(VENDOR_OUI.begin(), VENDOR_OUI.end(), address.octets().begin());
  std::generate(random, address.octets().end(), [&] { return static_cast<std::uint8_t>(octet(engine)); });
  return address;
}

}  // namespace qel
