#pragma once

#include <cstdint>

namespace meshd::simulation {

/// Octets that operator new has given and not got back, with what the allocator adds to each block.
std::int64_t heap_in_use();

}  // namespace meshd::simulation
