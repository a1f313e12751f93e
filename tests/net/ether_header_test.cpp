#include "qel/net/ether_header.h"

#include <arpa/inet.h>

#include "tests/support/testing.h"

namespace qel {
namespace {

const MACAddress MULTICAST({0x01, 0x80, 0xC2, 0x00, 0x00, 0x13});
const MACAddress SOURCE({0x02, 0x51, 0x4C, 0xAB, 0xCD, 0xEF});

EtherHeader make_header(unsigned short ethertype) {
  EtherHeader header;
  header.set_dest_addr(MULTICAST);
  header.set_src_addr(SOURCE);
  header.set_ethertype(ethertype);
  return header;
}

TEST(EtherHeader, LiesOverAFrame) {
  std::array<unsigned char, 14> frame{0x01, 0x80, 0xC2, 0x00, 0x00, 0x13, 0x02,
                                      0x51, 0x4C, 0xAB, 0xCD, 0xEF, 0x89, 0x3A};
  EtherHeader header;
  std::memcpy(&header, frame.data(), frame.size());
  EXPECT_TRUE(header.get_dest_addr() == MULTICAST && header.get_src_addr() == SOURCE);
  EXPECT_EQ(header.get_ethertype(), htons(0x893A));
  EXPECT_EQ(header, make_header(htons(0x893A)));
  for (unsigned char& octet : frame) {
    ++octet;
    std::memcpy(&header, frame.data(), frame.size());
    EXPECT_NE(header, make_header(htons(0x893A))) << &octet - frame.data();
    --octet;
  }
}

TEST(EtherHeader, PrintsAndLeavesNumbersHexadecimal) {
  std::ostringstream os;
  os << std::uppercase << std::showbase << make_header(0x893A) << make_header(7) << 255;
  EXPECT_EQ(os.str(),
            "dest address: 01:80:C2:00:00:13\nsrc address: 02:51:4C:AB:CD:EF\nethertype: 893a\n"
            "dest address: 01:80:C2:00:00:13\nsrc address: 02:51:4C:AB:CD:EF\nethertype: 7\n0XFF");
}

}  // namespace
}  // namespace qel
