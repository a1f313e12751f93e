#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "qel/daemon/connection.h"

namespace qel::signals {

template <class... Args>
class Signal;

/// A function connected to a Signal<Args...>.
template <class... Args>
class Slot final : public SlotBase {
 public:
  using Function = std::function<void(Args...)>;

  /// The slots of one signal, in the order in which they were connected. It outlives the signal during an emission.
  struct List {
    std::vector<std::shared_ptr<Slot>> slots;
    std::size_t emissions = 0;

    /// Removes disconnected slots, but only after the outermost emission, so that no function is destroyed while it
    /// runs.
    void sweep() {
      if (emissions != 0) {
        return;
      }
      const auto first_dead =
          std::stable_partition(slots.begin(), slots.end(), [](const auto& slot) { return slot->is_connected(); });
      // Destroyed last: destroying a function may disconnect other slots.
      const std::vector<std::shared_ptr<Slot>> dead(std::make_move_iterator(first_dead),
                                                    std::make_move_iterator(slots.end()));
      slots.erase(first_dead, slots.end());
    }
  };

  Slot(std::weak_ptr<List> list, Function function) : list_(std::move(list)), function_(std::move(function)) {}

  void operator()(Args... args) const { function_(args...); }

  bool is_callable() const override { return connected_ && !blocked_; }
  void release() override { connected_ = false; }
  bool is_connected() const override { return connected_; }
  void disconnect() override {
    release();
    if (const auto list = list_.lock()) {
      list->sweep();
    }
  }
  bool is_blocked() const override { return blocked_; }
  void block(bool blocked) override { blocked_ = blocked; }

 private:
  std::weak_ptr<List> list_;
  Function function_;
  bool connected_ = true;
  bool blocked_ = false;
};

/// Calls every connected function, in the order in which they were connected:
///
///     Signal<const MACAddress&, bool> neighbour_changed;
///     ScopedConnection connection = neighbour_changed.connect([](const MACAddress& mac, bool present) { ... });
///     neighbour_changed(mac, true);
///
/// A function may connect others, which are first called in the next emission; disconnect any, which are then no longer
/// called; emit again; and destroy the signal, which ends the emission. An exception from a function propagates from
/// the emission, and the remaining functions are not called.
template <class... Args>
class Signal {
  static_assert(!(std::is_rvalue_reference_v<Args> || ...),
                "every function gets the same arguments: none may be moved from");

 public:
  using Function = typename Slot<Args...>::Function;

  Signal() = default;
  Signal(const Signal&) = delete;
  Signal& operator=(const Signal&) = delete;
  ~Signal() { disconnect_all(); }

  Connection connect(Function function) {
    list_->slots.push_back(std::make_shared<Slot<Args...>>(list_, std::move(function)));
    return Connection(std::weak_ptr<SlotBase>(list_->slots.back()));
  }

  void operator()(Args... args) const {
    const Emission emission{list_};
    const auto& slots = emission.list->slots;
    // By index, because the functions may add to the list.
    for (std::size_t i = 0, count = slots.size(); i < count; ++i) {
      if (const Slot<Args...>& slot = *slots[i]; slot.is_callable()) {
        slot(args...);
      }
    }
  }

  void disconnect_all() {
    for (const auto& slot : list_->slots) {
      slot->release();
    }
    list_->sweep();
  }

  std::size_t count_slots() const {
    return static_cast<std::size_t>(
        std::count_if(list_->slots.begin(), list_->slots.end(), [](const auto& slot) { return slot->is_connected(); }));
  }

 private:
  using List = typename Slot<Args...>::List;

  struct Emission {
    explicit Emission(std::shared_ptr<List> slots) : list(std::move(slots)) { ++list->emissions; }
    Emission(const Emission&) = delete;
    Emission& operator=(const Emission&) = delete;
    ~Emission() {
      --list->emissions;
      list->sweep();
    }
    std::shared_ptr<List> list;
  };

  std::shared_ptr<List> list_ = std::make_shared<List>();
};

}  // namespace qel::signals
