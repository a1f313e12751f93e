#pragma once

#include <cstddef>

/// Counts the calls of operator new in a benchmark that is linked with allocations.cpp.
extern std::size_t allocations;
