#include "qel/net/mac_provisioning.h"

#include <stdlib.h>
#include <unistd.h>

#include "qel/core/vendor_oui.h"
#include "tests/support/testing.h"

namespace qel {
namespace {

TEST(MACAProvider, TakesTheAddressOnce) {
  const std::string file = testing::TempDir() + "maca-" + std::to_string(::getpid());
  ::setenv("QELVELO_FW_ENV_CONFIG", "/nonexistent", 1);
  ::setenv("QELVELO_ENV_FILE", file.c_str(), 1);
  const auto get = [] { MACAProvider::get(); };
  EXPECT_THAT(get, ThrowsMessage<std::runtime_error>("kelvar_getenv() did not yield maca"));
  std::ofstream(file) << "maca=00-11-22-33-44-55\n";
  EXPECT_THAT(get, ThrowsMessage<std::invalid_argument>("'00-11-22-33-44-55' is no valid MACAddress string"));
  std::ofstream(file) << "maca=00:1a:2B:3C:4D:5E\n";
  get();
  std::remove(file.c_str());
  EXPECT_EQ(MACAProvider::get().get_mac_a(), MACAddress({0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E}));
}

TEST(RandomMACAddress, IsRandomBehindTheVendorPrefix) {
  std::set<std::uint8_t> seen[6];
  for (int i = 0; i < 100; ++i) {
    const MACAddress address = generate_random_qel_mac_address();
    for (std::size_t octet = 0; octet < 6; ++octet) {
      seen[octet].insert(address.octets()[octet]);
    }
  }
  for (std::size_t octet = 0; octet < 3; ++octet) {
    EXPECT_EQ(seen[octet], std::set{VENDOR_OUI[octet]});
    // Of 100 draws from 256 values, about 83 are distinct; fewer than 50 practically never occur.
    EXPECT_GE(seen[octet + 3].size(), 50U);
  }
}

}  // namespace
}  // namespace qel
