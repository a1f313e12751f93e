#include "qel/daemon/event_bus.h"

#include "tests/support/testing.h"

namespace qel {
namespace {

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
