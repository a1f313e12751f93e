#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <list>
#include <string>
#include <string_view>
#include <vector>

#include "qel/daemon/timer.h"
#include "tools/meshctl/web/bus_client.h"

namespace meshctl::web {

/// Has a controller carry out orders and tells what comes of them. Needs the loop of the platform.
class Orders {
 public:
  struct Outcome {
    enum class Kind {
      ENDED,    ///< the text is the answer of RESULT as JSON: it succeeded or failed
      REFUSED,  ///< the controller did not accept it, or the daemon is no controller
      UNKNOWN   ///< nobody can tell what comes of it, if it was accepted at all
    } kind;
    std::string text;  ///< one line; unless ENDED, the reason
  };
  using Take = std::function<void(Outcome)>;

  static constexpr std::size_t MOST = 4;  ///< at the same time

  explicit Orders(std::string daemon) : daemon_(std::move(daemon)) {}
  Orders(const Orders&) = delete;
  Orders& operator=(const Orders&) = delete;
  /// Orders that have not ended are forgotten here; the controller ends them.
  ~Orders() = default;

  bool is_full() const { return orders_.size() >= MOST; }

  /// Gives an order: the words of a command of the controller that answers with an order's number. Calls `take` once,
  /// in a later turn of the loop. Must not be called while is_full().
  void start(std::vector<std::string> words, Take take);

 private:
  using Clock = std::chrono::steady_clock;

  struct Order {
    Orders* orders;
    std::vector<std::string> words;  ///< what the controller is asked
    std::string what;                ///< how its answer ends its own description of this order
    Take take;
    bool is_accepted = false;
    Clock::time_point start = Clock::now();
    qel::time::Timer timer{};
  };

  void ask(Order& order);
  void ask_after(std::chrono::milliseconds pause, Order& order);
  void take_answer(Order& order, int status, int result, std::string_view text);
  void end(Order& order, Outcome::Kind kind, std::string text);

  std::string daemon_;
  std::list<Order> orders_;
  BusClient client_;  ///< closed before the orders, to which its answers refer
};

}  // namespace meshctl::web
