#pragma once

#include <cstddef>
#include <system_error>

namespace meshd {

/// Limits the data of this process to 32 KiB for each of the `devices` it may know, at least 32 MiB, and 16 MiB for the
/// stations of its radios; a controller has 96 MiB more. An administrator may have set less. Larger allocations then
/// fail. Any peer on the message bus can send messages of up to 128 MiB, which the bus library buffers before we can
/// look at them; with the limit the connection is lost instead, and the endpoint reconnects. A controller's limit is
/// above such a message, but only root and the group of the daemon can send one.
std::error_code limit_memory(std::size_t devices, bool is_controller);

}  // namespace meshd
