#include "tools/meshctl/web/orders.h"

#include <cerrno>
#include <utility>

#include "ctlcmd.h"
#include "qelipc_client.h"
#include "tools/safe_text.h"

namespace meshctl::web {

namespace {

using namespace std::chrono_literals;

constexpr auto PAUSE = 200ms;  // between questions for the result
/// The controller ends every order in 90 s: a radio may have to listen for radar first. More means that it is broken.
constexpr auto LIMIT = 100s;
constexpr std::string_view ACCEPTED = "order ";

std::string one_line(std::string_view text) {
  return tools::for_terminal_line(text.substr(0, text.find_last_not_of('\n') + 1));
}

}  // namespace

void Orders::start(std::vector<std::string> words, Take take) {
  std::string what;
  for (auto word = words.begin() + 1; word != words.end(); ++word) {
    what += ' ' + *word;
  }
  words.insert(words.begin(), "CONTROLLER");
  orders_.push_back({this, std::move(words), what + '"', std::move(take)});
  ask_after(0ms, orders_.back());
}

void Orders::ask_after(std::chrono::milliseconds pause, Order& order) {
  order.timer.start(pause, [this, &order] { ask(order); });
}

void Orders::ask(Order& order) {
  if (client_ == nullptr) {
    client_ = open_bus_client([](void* self) { static_cast<Orders*>(self)->client_.reset(); }, this);
  }
  if (client_ == nullptr) {
    end(order, Outcome::Kind::UNKNOWN, no_bus());
    return;
  }
  std::vector<const char*> words;
  for (const std::string& word : order.words) {
    words.push_back(word.c_str());
  }
  words.push_back(nullptr);
  const auto take = [](void* context, int status, int result, const char* answer) {
    Order& asked = *static_cast<Order*>(context);
    asked.orders->take_answer(asked, status, result, answer != nullptr ? answer : "");
  };
  const int status =
      qelipc_client_start_command(client_.get(), daemon_.c_str(), words.data(), ANSWER_TIMEOUT, take, &order);
  if (status < 0) {
    take_answer(order, status, 0, "");
  }
}

void Orders::take_answer(Order& order, int status, int result, std::string_view text) {
  using Kind = Outcome::Kind;
  if (status != 0) {
    const bool is_lost = status == -ENXIO && !order.is_accepted;
    end(order, Kind::UNKNOWN, no_answer(daemon_, status) + (is_lost ? "" : "; what comes of the order is unknown"));
  } else if (!std::exchange(order.is_accepted, true)) {
    if (result == CTLCMD_NO_COMMAND) {
      end(order, Kind::REFUSED, "'" + daemon_ + "' is no controller");
    } else if (result != 0 || !text.starts_with(ACCEPTED)) {
      end(order, Kind::REFUSED, one_line(text));
    } else {
      order.words = {"CONTROLLER", "RESULT", one_line(text.substr(ACCEPTED.size())), "JSON"};
      ask_after(PAUSE, order);
    }
  } else if (result == 0 && text == "pending\n" && Clock::now() - order.start < LIMIT) {
    ask_after(PAUSE, order);
  } else if (text.starts_with('{') && text.find(order.what) != std::string_view::npos) {
    end(order, Kind::ENDED, tools::to_utf8(text));
  } else if (text == "pending\n") {
    end(order, Kind::UNKNOWN, "the controller does not end this order");
  } else {
    // A new controller counts from 1 again, so the number may now be that of another order.
    end(order, Kind::UNKNOWN, "the controller no longer knows this order");
  }
}

void Orders::end(Order& order, Outcome::Kind kind, std::string text) {
  const Take take = std::move(order.take);
  orders_.remove_if([&order](const Order& each) { return &each == &order; });
  take({kind, std::move(text)});
}

}  // namespace meshctl::web
