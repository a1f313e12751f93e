#include "qel/core/mac_address.h"

#include <algorithm>
#include <cstdio>
#include <istream>
#include <ostream>
#include <stdexcept>

#include "qel/core/hex_text.h"

namespace qel {

namespace {

auto format(const MACAddress& address) { return ColonHex(address.octets(), UPPER_CASE_DIGITS); }

/// The second is the address on which HomePlug AV powerline adapters answer local management. Every adapter has it, so
/// it identifies none.
constexpr std::array RESERVED_ADDRESSES{
    MACAddress(),
    MACAddress(MACAddress::Octets{0x00, 0xB0, 0x52, 0x00, 0x00, 0x01}),
};

bool is_individual(const MACAddress& address) { return (address.octets()[0] & 1U) == 0; }

}  // namespace

MACAddress::MACAddress(const std::string& text) {
  if (!parse_string(text)) {
    throw std::invalid_argument("'" + text + "' is no valid MACAddress string");
  }
}

bool MACAddress::parse_string(const std::string& text) {
  if (text.size() != MAC_ADDR_STRING_LEN || text.find_first_not_of("0123456789ABCDEFabcdef:") != std::string::npos) {
    return false;
  }
  int consumed = 0;
  const int converted = std::sscanf(text.c_str(), "%2hhx:%2hhx:%2hhx:%2hhx:%2hhx:%2hhx%n", &octets_[0], &octets_[1],
                                    &octets_[2], &octets_[3], &octets_[4], &octets_[5], &consumed);
  return converted == 6 && consumed == static_cast<int>(MAC_ADDR_STRING_LEN);
}

std::string MACAddress::to_string() const { return std::string(format(*this).view()); }

std::ostream& operator<<(std::ostream& os, const MACAddress& address) { return os << format(address).view(); }

std::istream& operator>>(std::istream& is, MACAddress& address) {
  std::string word;
  MACAddress parsed;
  if (is >> word && parsed.parse_string(word)) {
    address = parsed;
  } else {
    is.setstate(std::ios_base::failbit);
  }
  return is;
}

bool is_valid_mac_address(const MACAddress& address) {
  return std::find(RESERVED_ADDRESSES.begin(), RESERVED_ADDRESSES.end(), address) == RESERVED_ADDRESSES.end();
}

bool is_valid_individual_mac_address(const MACAddress& address) {
  return is_valid_mac_address(address) && is_individual(address);
}

bool is_non_zero_individual_mac_address(const MACAddress& address) {
  return address != MACAddress() && is_individual(address);
}

}  // namespace qel
