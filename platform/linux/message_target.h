// Where messages go, for the rest of the platform library.
#ifndef QEL_PLATFORM_MESSAGE_TARGET_H
#define QEL_PLATFORM_MESSAGE_TARGET_H

namespace qel::platform {

/// Sends the messages to the system log from now on, as a daemon in the background does.
void use_system_log();

}  // namespace qel::platform

#endif
