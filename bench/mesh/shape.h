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

/// Who is joined with whom. All of it hangs together.
struct Shape {
  std::string name;
  std::size_t nodes = 0;
  std::size_t switches = 0;  ///< plain ones, which know nothing of 1905; numbered after the nodes
  std::vector<Cable> cables;
  Cable spare;  ///< not plugged in at first; with it or without it all hangs together
};

Shape chain(std::size_t nodes);
Shape ring(std::size_t nodes);

/// One node in the middle, which has no more interfaces than an entity may have: many nodes hang on several such nodes
/// around it.
Shape star(std::size_t nodes);

/// Each node has three below it.
Shape tree(std::size_t nodes);

/// A tree in which every node hangs on any one before it, and half as many cables again between any two. The same
/// whenever it is made.
Shape random(std::size_t nodes);

/// All nodes on one plain switch: each hears every other.
Shape one_switch(std::size_t nodes);

}  // namespace meshd::simulation
