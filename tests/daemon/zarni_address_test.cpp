#include "qel/daemon/zarni_address.h"

#include "tests/support/enumerations.h"

namespace qel::daemon {
namespace {

using serialization::YAJLStream;

TEST(ZarniAddress, IsUpperCaseTextOrderedAsSuchAndAJsonString) {
  ZarniAddress address;
  address.set_data("meshd-1");
  EXPECT_EQ(address, ZarniAddress("MESHD-1"));
  EXPECT_TRUE(address < ZarniAddress("meshd-10"));
  std::ostringstream os;
  os << address;
  serialization::SerializationContext context;
  const auto print = [&](const ZarniAddress& printed) {
    YAJLStream stream(os, serialization::YAJLIndentation::COMPACT);
    serialization::JSONSerializableType<ZarniAddress>::serialize(stream, context, printed);
  };
  print(address);
  EXPECT_EQ(os.str(), "MESHD-1\"MESHD-1\"");
  EXPECT_THAT([&] { print(ZarniAddress("\xff")); },
              ThrowsMessage<serialization::SerializationException>("Serialization of ZarniAddress failed"));
}

TEST(ZarniRole, Texts) { test::check_enum<ZarniRole>("1 MASTER=master 2 SLAVE=slave", "unknown"); }

}  // namespace
}  // namespace qel::daemon
