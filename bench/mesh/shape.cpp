#include "bench/mesh/shape.h"

#include <random>
#include <utility>

namespace meshd::simulation {

namespace {

/// The spare cable joins two nodes that are far from each other in a chain.
Shape begin(std::string name, std::size_t nodes) { return {std::move(name), nodes, 0, {}, {nodes / 4, nodes * 3 / 4}}; }

}  // namespace

Shape chain(std::size_t nodes) {
  Shape shape = begin("chain", nodes);
  for (std::size_t node = 1; node < nodes; ++node) {
    shape.cables.push_back({node - 1, node});
  }
  return shape;
}

Shape ring(std::size_t nodes) {
  Shape shape = chain(nodes);
  shape.name = "ring";
  shape.cables.push_back({nodes - 1, 0});
  return shape;
}

Shape star(std::size_t nodes) {
  constexpr std::size_t MOST = 100;  // around one node: an entity has 128 interfaces at most
  Shape shape = begin("star", nodes);
  const std::size_t middles = nodes <= MOST ? 0 : nodes / MOST;  // besides node 0
  for (std::size_t node = 1; node < nodes; ++node) {
    shape.cables.push_back({node <= middles || middles == 0 ? 0 : 1 + node % middles, node});
  }
  return shape;
}

Shape tree(std::size_t nodes) {
  Shape shape = begin("tree", nodes);
  for (std::size_t node = 1; node < nodes; ++node) {
    shape.cables.push_back({(node - 1) / 3, node});
  }
  return shape;
}

Shape random(std::size_t nodes) {
  std::minstd_rand numbers(1);
  Shape shape = begin("random", nodes);
  for (std::size_t node = 1; node < nodes; ++node) {
    shape.cables.push_back({numbers() % node, node});
  }
  for (std::size_t more = 0; more < nodes / 2; ++more) {
    const std::size_t left = numbers() % nodes;
    shape.cables.push_back({left, (left + 1 + numbers() % (nodes - 1)) % nodes});
  }
  return shape;
}

Shape one_switch(std::size_t nodes) {
  Shape shape = begin("switch", nodes);
  shape.switches = 1;
  for (std::size_t node = 0; node < nodes; ++node) {
    shape.cables.push_back({node, nodes});
  }
  return shape;
}

}  // namespace meshd::simulation
