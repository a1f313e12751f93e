#pragma once

#include <concepts>
#include <cstddef>
#include <map>
#include <memory>
#include <stdexcept>
#include <utility>

#include "qel/core/export.h"
#include "qel/core/id.h"

namespace qel {

/// A part of the daemon that others find on the event bus by its identifier. It typically offers signals:
///
///     struct LinkEvents final : IEventModule {
///       static constexpr ID MODULE_ID{7};
///       using IEventModule::IEventModule;
///       signals::Signal<int, bool> link_changed;
///     };
///
///     EventBus::get().create_module<LinkEvents>();
///     EventBus::get().find_module<LinkEvents>()->link_changed.connect(...);
class QEL_EXPORT IEventModule {
 public:
  /// Only the event bus can create modules.
  class CreateToken {
    friend class EventBus;
    CreateToken() = default;
  };

  explicit IEventModule(CreateToken);
  IEventModule(const IEventModule&) = delete;
  IEventModule& operator=(const IEventModule&) = delete;
  virtual ~IEventModule();
};

template <class M>
concept EventModule = std::derived_from<M, IEventModule> && requires {
  { M::MODULE_ID } -> std::convertible_to<ID>;
};

/// The registry of the event modules of the process, which it owns.
class QEL_EXPORT EventBus {
 public:
  /// Created by the first call; destroyed at process exit, together with all modules.
  static EventBus& get();

  EventBus(const EventBus&) = delete;
  EventBus& operator=(const EventBus&) = delete;

  /// Creates M(token, args...). Throws std::logic_error if the identifier is taken.
  template <EventModule M, class... Args>
  M& create_module(Args&&... args) {
    auto module = std::make_unique<M>(IEventModule::CreateToken(), std::forward<Args>(args)...);
    M& made = *module;
    add(M::MODULE_ID, std::move(module));
    return made;
  }

  /// Returns null if there is no such module.
  template <EventModule M>
  M* find_module() const {
    return dynamic_cast<M*>(find_module(M::MODULE_ID));
  }
  IEventModule* find_module(ID id) const;

  /// Destroys the module. Returns false if there is no such module.
  bool remove_module(ID id);

  std::size_t count_modules() const { return modules_.size(); }

 private:
  EventBus();
  ~EventBus();
  void add(ID id, std::unique_ptr<IEventModule> module);

  std::map<ID, std::unique_ptr<IEventModule>> modules_;
};

}  // namespace qel
