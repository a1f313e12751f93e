#pragma once

#include <initializer_list>
#include <system_error>

namespace tools {

/// Gives up, for good, all capabilities of this process but these (of linux/capability.h), and the way to get others by
/// starting a program. What the process never had stays away. Whatever fails, the rest is done.
std::error_code keep_capabilities(std::initializer_list<unsigned int> kept);

}  // namespace tools
