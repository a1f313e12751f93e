#pragma once

#include <cstddef>

/// Number of calls of operator new; counts in a benchmark that is linked with allocations.cpp.
extern std::size_t allocations;
