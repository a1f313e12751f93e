#pragma once

#include "tools/meshd/entity/entity.h"

namespace meshd {

/// A frame of 1905.1, and where and when it came.
struct Entity::Received {
  std::size_t interface;
  TimePoint time;
  const Frame& frame;
};

}  // namespace meshd
