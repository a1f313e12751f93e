#pragma once

#include <cstdint>
#include <list>
#include <string>

#include "platform/linux/bus.h"
#include "platform/linux/step_timer.h"
#include "qelevsock.h"
#include "qelipc_client.h"

namespace qel::platform {

struct UnrefSlot {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};

/// Serves a client in the event loop (qelipc_client_open_in_loop).
class ClientService {
 public:
  /// The connection is borrowed.
  ClientService(sd_bus* bus, void (*lost)(void* context), void* context);
  ClientService(const ClientService&) = delete;
  ClientService& operator=(const ClientService&) = delete;
  ~ClientService();

  /// Returns 0 or a negative errno.
  int start();
  /// Waits for the events that sd-bus waits for. Must be called after every call that made it send.
  void schedule();
  /// As qelipc_client_start_command(); the words are checked.
  int command(const char* endpoint, const char* const* words, int timeout_ms, qelipc_client_answer take, void* context);

 private:
  /// A command whose answer is not complete.
  struct Question {
    ClientService* service;
    BusPlace place;
    std::uint64_t until;
    qelipc_client_answer take;
    void* context;
    std::string text = {};
    int result = 0;
    std::unique_ptr<sd_bus_slot, UnrefSlot> call = {};
  };

  template <class Append>
  int send(Question& question, const char* method, Append append);
  int take_piece(Question& question, sd_bus_message* reply);
  void finish(Question& question, int status);
  static int on_reply(sd_bus_message* reply, void* question, sd_bus_error*);
  void process();
  void drop();

  sd_bus* bus_;
  void (*lost_)(void* context);
  void* context_;
  evsock* watch_ = nullptr;
  StepTimer timer_{[](void* self) { static_cast<ClientService*>(self)->process(); }, this};
  std::uint64_t give_up_at_;  ///< on the clock of now_us(): when the bus must have accepted us
  bool processing_ = false;
  std::list<Question> questions_;
};

}  // namespace qel::platform
