#pragma once

#include <cstdint>

namespace meshd::simulation {

/// Octets allocated by operator new and not yet freed, including the overhead of the allocator.
std::int64_t heap_in_use();

}  // namespace meshd::simulation
