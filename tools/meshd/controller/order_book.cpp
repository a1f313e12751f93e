#include "tools/meshd/controller/order_book.h"

namespace meshd::controller {

const OrderBook::Order* OrderBook::find(Number number) const {
  const auto place = orders_->find(number);
  return place == orders_->end() ? nullptr : &place->second;
}

void OrderBook::keep(const std::weak_ptr<Orders>& orders, Number number, const Result& result) {
  if (const auto all = orders.lock()) {
    if (const auto place = all->find(number); place != all->end()) {
      place->second.result = result;
    }
  }
}

OrderBook::Number OrderBook::insert(std::string what) {
  if (orders_->size() >= MOST) {
    orders_->erase(orders_->begin());
  }
  orders_->emplace(++made_, Order{std::move(what)});
  return made_;
}

}  // namespace meshd::controller
