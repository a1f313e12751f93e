// A daemon with a module "greeter" in its debug shell. With a message bus running:
//
//     example_debug_shell hello &
//     meshctl exec hello greeter GREET 'big world'
//     meshctl exec hello greeter STOP

#include <ctlcmd.h>

#include <iostream>
#include <stdexcept>

#include "qel/daemon/mainloop.h"

namespace {

using qel::daemon::Mainloop;

/// Handlers are plain functions and receive their object through the module's context.
struct Greeter {
  Mainloop& loop;
  unsigned greeted = 0;

  static int greet(ctlcmd_session* session, int argc, const char* const* argv, void* context) {
    auto& greeter = *static_cast<Greeter*>(context);
    if (argc != 2) {
      ctlcmd_printf(session, "usage: GREET NAME\n");
      return CTLCMD_FAILED;
    }
    ctlcmd_printf(session, "hello, %s, number %u\n", argv[1], ++greeter.greeted);
    return 0;
  }

  static int stop(ctlcmd_session* session, int, const char* const*, void* context) {
    static_cast<Greeter*>(context)->loop.finish();
    ctlcmd_printf(session, "good-bye\n");
    return 0;
  }
};

}  // namespace

int main(int argc, char** argv) {
  try {
    Mainloop loop(argc > 1 ? argv[1] : "", false);
    Greeter greeter{loop};
    const auto module = loop.create_ctlcmd_module("greeter", &greeter);
    module->add_command("GREET", Greeter::greet, "greet somebody: GREET NAME");
    module->add_command("STOP", Greeter::stop, "end the daemon");
    module->start();
    std::cout << "serving as " << loop.get_name() << std::endl;
    loop.run_until_finished();
  } catch (const std::runtime_error& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
