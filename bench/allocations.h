#pragma once

#include <cstddef>

/// How often operator new was called; a benchmark linked with allocations.cpp counts it.
extern std::size_t allocations;
