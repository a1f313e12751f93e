#include <qelipc.h>

#include <stdexcept>

#include "qel/daemon/ctlcmd_shell.h"
#include "tests/daemon/fixture.h"

namespace qel::daemon {
namespace {

using fake_platform::set_result;
using fake_platform::take_calls;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::ThrowsMessage;

int add_argument_count(ctlcmd_session*, int argc, const char* const*, void* context) {
  return *static_cast<int*>(context) += argc;
}

class CtlcmdTest : public FakePlatformTest {
 protected:
  CtlcmdTest() { take_calls(); }
  std::shared_ptr<qelipc> ipc{qelipc_create("node"), qelipc_destroy};
  Ctlcmd ctlcmd{ipc, "node"};
};

TEST_F(CtlcmdTest, ConstructionFailsWithTexts) {
  EXPECT_THAT([] { Ctlcmd(nullptr, "node"); },
              ThrowsMessage<std::invalid_argument>("_ipc_endpoint contains a nullptr"));
  set_result("ctlcmd_listen_start", -16);
  EXPECT_THAT([this] { Ctlcmd(ipc, "node"); },
              ThrowsMessage<std::runtime_error>("ctlcmd_listen_start() failed with error code -16"));
}

TEST_F(CtlcmdTest, AModuleOffersItsCommandsWithItsContext) {
  int context = 40;
  const auto module = ctlcmd.create_module("mesh", &context);
  EXPECT_EQ(ctlcmd.get_module("mesh"), module);
  EXPECT_EQ(module->get_name(), "mesh");
  EXPECT_FALSE(module->started());
  // The module keeps copies of the texts.
  std::string name = "COUNT, whose name is too long to be stored in place";
  module->add_command(name, add_argument_count, "counts");
  name.assign(name.size(), '?');
  module->add_command("OTHER", add_argument_count, "counts too");
  EXPECT_TRUE(module->start());
  EXPECT_TRUE(module->start());
  EXPECT_TRUE(module->started());
  EXPECT_THAT(take_calls(), ElementsAre("ctlcmd_register_library(mesh, 2)", "ctlcmd_module_set_ctx(mesh)"));
  EXPECT_EQ(fake_platform::run_command("mesh", "COUNT, whose name is too long to be stored in place"), 41);
  EXPECT_THROW(module->add_command("LATE", add_argument_count, ""), std::logic_error);
  module->stop();
  module->stop();
  EXPECT_THAT(take_calls(), ElementsAre("ctlcmd_unregister_library(mesh)"));
  EXPECT_FALSE(module->started());
}

TEST_F(CtlcmdTest, AModuleThatThePlatformRefusesIsNotStarted) {
  const auto module = ctlcmd.create_module("mesh", nullptr);
  set_result("ctlcmd_register_library", -17);
  EXPECT_FALSE(module->start());
  fake_platform::clear_result("ctlcmd_register_library");
  take_calls();
  set_result("ctlcmd_module_set_ctx", -2);
  EXPECT_FALSE(module->start());
  EXPECT_FALSE(module->started());
  EXPECT_THAT(take_calls(), ElementsAre("ctlcmd_register_library(mesh, 0)", "ctlcmd_module_set_ctx(mesh)",
                                        "ctlcmd_unregister_library(mesh)"));
}

TEST_F(CtlcmdTest, AModuleStopsWhenItIsReplacedRemovedOrDestroyed) {
  EXPECT_FALSE(ctlcmd.remove_module("mesh"));
  const auto first = ctlcmd.create_module("mesh", nullptr);
  EXPECT_TRUE(first->is_valid());
  first->start();
  take_calls();
  const auto second = ctlcmd.create_module("mesh", nullptr);
  EXPECT_THAT(take_calls(), ElementsAre("ctlcmd_unregister_library(mesh)"));
  EXPECT_FALSE(first->is_valid());
  second->start();
  take_calls();
  first->stop();
  EXPECT_THAT(take_calls(), IsEmpty()) << "it must not take the new one's commands away";

  EXPECT_TRUE(ctlcmd.remove_module("mesh"));
  EXPECT_THAT(take_calls(), ElementsAre("ctlcmd_unregister_library(mesh)"));
  EXPECT_EQ(ctlcmd.get_module("mesh"), nullptr);
  EXPECT_FALSE(second->start());
  EXPECT_THAT(take_calls(), IsEmpty());

  {
    CtlcmdModule module("other", nullptr);
    module.set_valid(true);
    module.start();
    take_calls();
  }
  EXPECT_THAT(take_calls(), ElementsAre("ctlcmd_unregister_library(other)"));
}

}  // namespace
}  // namespace qel::daemon
