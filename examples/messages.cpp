// Sends a message to an endpoint by name, and an event to all listeners. Without arguments it sends to itself. To send
// to another instance and to listen:
//
//     example_messages two &
//     meshctl events two &
//     example_messages one two

#include <qelipc.h>

#include <exception>
#include <iostream>
#include <string>
#include <string_view>

#include "qel/daemon/mainloop.h"

namespace {

using qel::daemon::Mainloop;

std::string_view text_of(const void* data, unsigned size) { return {static_cast<const char*>(data), size}; }

/// Registered for the endpoint's messages; the context is the object that receives them.
void take_message(qelipc*, const char* sender, void* data, unsigned size, void* context) {
  std::cout << "message from " << sender << ": " << text_of(data, size) << std::endl;
  static_cast<Mainloop*>(context)->send_qelipc_event("heard", data, size);
}

void take_event(qelipc*, const char* event, void* data, unsigned size, void* context) {
  std::cout << "event " << event << ": " << text_of(data, size) << std::endl;
  static_cast<Mainloop*>(context)->finish();
}

}  // namespace

int main(int argc, char** argv) {
  const std::string name = argc > 1 ? argv[1] : "example_messages";
  try {
    Mainloop loop(name, false);
    qelipc_msg_register(loop.get_qelipc(), take_message, &loop);
    loop.register_qelipc_event_notifier("heard", take_event, &loop);
    if (argc != 2) {
      loop.send_qelipc_message(argc > 2 ? argv[2] : name.c_str(), "hello");
    }
    loop.run_until_finished();
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
