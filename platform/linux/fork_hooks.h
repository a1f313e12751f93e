// What has to be done around the fork of daemon_start(), by parts of the platform that the event-loop library does not
// know.
#ifndef QEL_PLATFORM_FORK_HOOKS_H
#define QEL_PLATFORM_FORK_HOOKS_H

namespace qel::platform {

struct ForkHooks {
  void (*before)();         ///< in the parent: let go of what a process cannot share with its child
  int (*after_in_child)();  ///< take it again; 0, or a negative errno that makes daemon_start() fail
};

/// Sets the hooks; both stay for the life of the process.
__attribute__((visibility("default"))) void set_fork_hooks(const ForkHooks& hooks);

}  // namespace qel::platform

#endif
