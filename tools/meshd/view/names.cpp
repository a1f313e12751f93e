#include "tools/meshd/view/names.h"

#include <netinet/ether.h>

#include <algorithm>
#include <istream>
#include <iterator>
#include <vector>

namespace meshd {

Names read_names(std::istream& file) {
  Names names;
  for (std::string line; std::getline(file, line);) {
    ether_addr address{};
    std::vector<char> name(line.size() + 1);  // has room for the longest
    if (ether_line(line.c_str(), &address, name.data()) == 0) {
      qel::MACAddress mac;
      std::copy(std::begin(address.ether_addr_octet), std::end(address.ether_addr_octet), mac.octets().begin());
      names[mac] = visible(name.data());
    }
  }
  return names;
}

std::string visible(std::string name) {
  std::ranges::replace_if(
      name, [](char character) { return character <= ' ' || character > '~'; }, '?');
  return name;
}

}  // namespace meshd
