#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace meshd::simulation {

/// Two devices, by their numbers.
struct Cable {
  std::size_t left;
  std::size_t right;
};

/// Which devices are connected. The graph is connected.
struct Shape {
  std::string name;
  std::size_t nodes = 0;
  std::size_t switches = 0;  ///< plain ones without 1905.1; numbered after the nodes
  std::vector<Cable> cables;
  Cable spare;  ///< not plugged in at first; the graph is connected with it and without it
};

Shape chain(std::size_t nodes);
Shape ring(std::size_t nodes);

/// One node in the middle. Since an entity has a limited number of interfaces, many nodes are connected through several
/// such nodes around it.
Shape star(std::size_t nodes);

/// Each node has three below it.
Shape tree(std::size_t nodes);

/// A random tree, with half as many cables again between random nodes. The same in each run.
Shape random(std::size_t nodes);

/// All nodes on one plain switch: each hears every other.
Shape one_switch(std::size_t nodes);

}  // namespace meshd::simulation
