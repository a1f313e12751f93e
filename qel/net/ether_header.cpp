#include "qel/net/ether_header.h"

#include <charconv>
#include <ostream>
#include <string_view>

namespace qel {

std::ostream& operator<<(std::ostream& os, const EtherHeader& header) {
  char digits[4];
  const auto end = std::to_chars(std::begin(digits), std::end(digits), header.get_ethertype(), 16).ptr;
  os << "dest address: " << header.get_dest_addr() << "\nsrc address: " << header.get_src_addr()
     << "\nethertype: " << std::string_view(digits, static_cast<std::size_t>(end - digits)) << '\n';
  return os << std::hex;
}

}  // namespace qel
