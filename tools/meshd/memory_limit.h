#pragma once

#include <system_error>

namespace meshd {

/// Keeps the data of this process within 32 MiB, where an administrator has not set less: what is more is refused to
/// whoever asks for it. Whoever may talk to us on the message bus can send messages of up to 128 MiB, which the bus's
/// library gathers before anybody can look at them; it loses the connection instead, and the endpoint connects anew.
std::error_code limit_memory();

}  // namespace meshd
