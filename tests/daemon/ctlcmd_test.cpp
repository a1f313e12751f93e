#include <qelipc.h>

#include "qel/daemon/ctlcmd_shell.h"
#include "tests/daemon/fixture.h"

namespace qel::daemon {
namespace {

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

TEST_F(CtlcmdTest, AModuleIsStartedAndStoppedOnce) {
  CtlcmdModule module("mesh", nullptr);
  EXPECT_FALSE(module.is_valid()) << "no shell has made it";
  for (const char* failing : {"ctlcmd_register_library", "ctlcmd_module_set_ctx"}) {
    set_result(failing, -2);
    EXPECT_FALSE(module.start() || module.started());
    set_result(failing, 0);
  }
  EXPECT_THAT(take_calls(), ElementsAre("ctlcmd_register_library(mesh, 0)", "ctlcmd_register_library(mesh, 0)",
                                        "ctlcmd_module_set_ctx(mesh)", "ctlcmd_unregister_library(mesh)"));
  EXPECT_TRUE(module.start());
  EXPECT_TRUE(module.start());
  EXPECT_THAT(take_calls(), ElementsAre("ctlcmd_register_library(mesh, 0)", "ctlcmd_module_set_ctx(mesh)"));
  EXPECT_THROW(module.add_command("LATE", nullptr, ""), std::logic_error);
  module.stop();
  module.stop();
  EXPECT_THAT(take_calls(), ElementsAre("ctlcmd_unregister_library(mesh)"));
}

TEST_F(CtlcmdTest, AModuleStopsWhenItIsReplacedOrRemoved) {
  const auto first = ctlcmd.create_module("mesh", nullptr);
  EXPECT_EQ(ctlcmd.get_module("mesh"), first);
  first->start();
  const auto second = ctlcmd.create_module("mesh", nullptr);
  EXPECT_EQ(take_calls().back(), "ctlcmd_unregister_library(mesh)");
  EXPECT_FALSE(first->is_valid());
  second->start();
  take_calls();
  first->stop();
  EXPECT_THAT(take_calls(), IsEmpty()) << "it must not take the new one's commands away";
  EXPECT_TRUE(ctlcmd.remove_module("mesh"));
  EXPECT_FALSE(ctlcmd.remove_module("mesh"));
  EXPECT_THAT(take_calls(), ElementsAre("ctlcmd_unregister_library(mesh)"));
  EXPECT_EQ(ctlcmd.get_module("mesh"), nullptr);
}

}  // namespace
}  // namespace qel::daemon
