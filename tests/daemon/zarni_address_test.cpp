#include "qel/daemon/zarni_address.h"

#include <gmock/gmock.h>

#include <sstream>

namespace qel::daemon {
namespace {

TEST(ZarniAddress, IsAlwaysUpperCase) {
  ZarniAddress address("meshd-1");
  EXPECT_EQ(address.get_data(), "MESHD-1");
  EXPECT_EQ(address, ZarniAddress("MESHD-1"));
  EXPECT_TRUE(address <= ZarniAddress("Meshd-1"));
  EXPECT_FALSE(address < ZarniAddress("Meshd-1"));
  EXPECT_TRUE(address < ZarniAddress("meshd-10"));
  address.set_data("other");
  std::ostringstream os;
  os << address << ' ' << ZarniRole::MASTER << ' ' << ZarniRole::SLAVE << ' ' << ZarniRole(0);
  EXPECT_EQ(os.str(), "OTHER master slave unknown");
}

TEST(ZarniAddress, IsAJsonString) {
  using serialization::JSONSerializableType;
  std::ostringstream os;
  serialization::SerializationContext context;
  {
    serialization::YAJLStream stream(os, serialization::YAJLIndentation::COMPACT);
    JSONSerializableType<ZarniAddress>::serialize(stream, context, ZarniAddress("meshd"));
  }
  EXPECT_EQ(os.str(), "\"MESHD\"");
  serialization::YAJLStream stream(os, serialization::YAJLIndentation::COMPACT);
  EXPECT_THAT([&] { JSONSerializableType<ZarniAddress>::serialize(stream, context, ZarniAddress("\xff")); },
              testing::ThrowsMessage<serialization::SerializationException>("Serialization of ZarniAddress failed"));
}

}  // namespace
}  // namespace qel::daemon
