#pragma once

/// The destination of messages, for the rest of the platform library.
namespace qel::platform {

/// From now on, sends the messages to the system log, as a daemon in the background does.
void use_system_log();

}  // namespace qel::platform
