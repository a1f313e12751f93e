#pragma once

/// Hooks around the fork of daemon_start(), for parts of the platform that the event-loop library does not know.
namespace qel::platform {

struct ForkHooks {
  void (*before)();         ///< in the parent: release what cannot be shared with a child
  int (*after_in_child)();  ///< reacquire it; returns 0, or a negative errno that makes daemon_start() fail
};

/// Sets the hooks for the life of the process.
__attribute__((visibility("default"))) void set_fork_hooks(const ForkHooks& hooks);

}  // namespace qel::platform
