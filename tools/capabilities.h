#pragma once

#include <initializer_list>
#include <system_error>

namespace tools {

/// Permanently drops all capabilities of this process except those in `kept` (values of linux/capability.h), and
/// prevents it from gaining others by starting a program. Capabilities that the process never had stay absent. If a
/// step fails, the others are still done.
std::error_code keep_capabilities(std::initializer_list<unsigned int> kept);

}  // namespace tools
