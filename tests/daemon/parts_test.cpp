#include "qel/daemon/build_type.h"
#include "qel/daemon/event_bus.h"
#include "qel/daemon/zarni_address.h"
#include "tests/support/enumerations.h"
#include "tests/support/testing.h"

// The small classes that need no platform.

namespace qel {
namespace {

/// The environment is read once per process, so each row has a process of its own, which exits with 0 on success.
TEST(BuildTypeDeathTest, IsReadOnceFromTheEnvironment) {
  const struct {
    const char* text;
    int type;
    bool is_production;
  } rows[] = {{"1", 1, true},       {"2", 2, true},          {"3", 3, false},   {"998", 998, false},
              {"1000", 1000, true}, {"1007", 1007, true},    {"4", 0, false},   {"999", 0, false},
              {"1008", 0, false},   {"1005abc", 1005, true}, {"abc", 0, false}, {"-1", 0, false},
              {nullptr, 0, false},  {"4294967298", 0, false}};
  for (const auto& [text, type, is_production] : rows) {
    EXPECT_EXIT(
        {
          text == nullptr ? unsetenv("CONFIG_BUILDTYPE") : setenv("CONFIG_BUILDTYPE", text, 1);
          for (int reading = 0; reading < 2; ++reading) {
            if (enum_to_string(get_build_type()) != std::to_string(type) || is_production_release() != is_production) {
              std::exit(1);
            }
            setenv("CONFIG_BUILDTYPE", type == 2 ? "3" : "2", 1);
          }
          std::exit(0);
        },
        testing::ExitedWithCode(0), "")
        << (text == nullptr ? "not set" : text);
  }
}

struct Links final : IEventModule {
  static constexpr ID MODULE_ID{7};
  Links(CreateToken token, int* counter) : IEventModule(token), deaths(counter) {}
  ~Links() override { ++*deaths; }
  int* deaths;
};

struct Imposter final : IEventModule {
  static constexpr ID MODULE_ID{7};
  using IEventModule::IEventModule;
};

TEST(EventBus, KeepsModulesByIdentifier) {
  EventBus& bus = EventBus::get();
  int deaths = 0;
  Links& links = bus.create_module<Links>(&deaths);
  EXPECT_EQ(bus.find_module<Links>(), &links);
  EXPECT_EQ(bus.find_module(ID(7)), &links);
  EXPECT_EQ(bus.find_module(ID(8)), nullptr);
  EXPECT_THROW(bus.create_module<Imposter>(), std::logic_error) << "the identifier is taken";
  EXPECT_EQ(bus.find_module<Imposter>(), nullptr);
  EXPECT_EQ(bus.count_modules(), 1u);
  EXPECT_TRUE(bus.remove_module(ID(7)));
  EXPECT_EQ(deaths, 1);
  EXPECT_FALSE(bus.remove_module(ID(7)));
}

}  // namespace
}  // namespace qel

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
