#include "qel/net/ether_header.h"

#include <arpa/inet.h>

#include "tests/support/octets.h"

namespace qel {
namespace {

TEST(EtherHeader, LiesOverAFrameAndLeavesNumbersHexadecimal) {
  test::Octets frame = test::octets("0180C2000013 02514CABCDEF 893A");
  const auto laid = [&] {
    EtherHeader header;
    std::memcpy(&header, frame.data(), frame.size());
    return header;
  };
  EtherHeader made;
  made.set_dest_addr(test::mac("0180C2000013"));
  made.set_src_addr(test::mac("02514CABCDEF"));
  made.set_ethertype(htons(0x893A));
  EXPECT_EQ(laid(), made);
  EXPECT_TRUE(laid().get_dest_addr() == test::mac("0180C2000013") &&
              laid().get_src_addr() == test::mac("02514CABCDEF"));
  EXPECT_EQ(laid().get_ethertype(), htons(0x893A));
  for (std::uint8_t& octet : frame) {
    ++octet;
    EXPECT_NE(laid(), made) << &octet - frame.data();
    --octet;
  }
  made.set_ethertype(0x93A);
  std::ostringstream os;
  os << std::uppercase << std::showbase << made << 255;
  EXPECT_EQ(os.str(), "dest address: 01:80:C2:00:00:13\nsrc address: 02:51:4C:AB:CD:EF\nethertype: 93a\n0XFF");
}

}  // namespace
}  // namespace qel
