#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "tools/meshd/controller/result.h"

namespace meshd::controller {

/// Numbers the orders of users and keeps what came of the last ones. An order takes seconds, but a command of the debug
/// shell must answer at once: it answers with the number, and another command asks for the result.
class OrderBook {
 public:
  using Number = unsigned int;

  static constexpr std::size_t MOST = 64;  ///< orders that are kept

  struct Order {
    std::string what;
    std::optional<Result> result{};  ///< nothing while it is being carried out
  };

  /// `start` gets the function that takes the result. If it throws, there is no order.
  template <class Start>
  Number add(std::string what, Start start) {
    const Number number = insert(std::move(what));
    try {
      start(
          OnResult([orders = std::weak_ptr(orders_), number](const Result& result) { keep(orders, number, result); }));
    } catch (...) {
      orders_->erase(number);
      throw;
    }
    return number;
  }

  /// Null if there is no such order, or no longer.
  const Order* find(Number number) const;

 private:
  using Orders = std::map<Number, Order>;

  static void keep(const std::weak_ptr<Orders>& orders, Number number, const Result& result);
  Number insert(std::string what);

  Number made_ = 0;
  std::shared_ptr<Orders> orders_ = std::make_shared<Orders>();  // shared with those that wait for results
};

}  // namespace meshd::controller
