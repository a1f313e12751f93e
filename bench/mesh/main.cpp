#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "bench/growth_table.h"
#include "bench/mesh/heap.h"
#include "bench/mesh/shape.h"
#include "bench/mesh/simulation.h"

/// Simulates meshes of 10, 100 and 1000 nodes in virtual time, and prints how soon each node knows all others and what
/// that costs each node. Except for the processor time, the figures do not depend on this machine. The last columns
/// show how much each figure grows with the mesh.

namespace {

using namespace meshd::simulation;
using namespace std::chrono_literals;

constexpr std::chrono::seconds INTERVAL{60};  // of discovery
constexpr std::size_t SIZES[] = {10, 100, 1000};

/// What all nodes have sent by now.
std::vector<Traffic> traffic_of(const Simulation& mesh) {
  std::vector<Traffic> traffic;
  for (std::size_t node = 0; node < mesh.nodes(); ++node) {
    traffic.push_back(mesh.traffic(node));
  }
  return traffic;
}

/// What all nodes send within a given time.
std::vector<Traffic> traffic_in(Simulation& mesh, std::chrono::seconds time) {
  const std::vector<Traffic> before = traffic_of(mesh);
  mesh.run(time);
  std::vector<Traffic> traffic = traffic_of(mesh);
  std::ranges::transform(traffic, before, traffic.begin(), std::minus());
  return traffic;
}

/// Statistics over all nodes.
struct Spread {
  double mean = 0;
  double most = 0;
};

Spread spread(const std::vector<Traffic>& traffic, const std::function<double(const Traffic&)>& figure) {
  Spread result;
  for (const Traffic& node : traffic) {
    result.mean += figure(node) / static_cast<double>(traffic.size());
    result.most = std::max(result.most, figure(node));
  }
  return result;
}

Spread cost(const Simulation& mesh, const std::function<double(const Cost&)>& figure) {
  Spread result;
  for (std::size_t node = 0; node < mesh.nodes(); ++node) {
    result.mean += figure(mesh.cost(node)) / static_cast<double>(mesh.nodes());
    result.most = std::max(result.most, figure(mesh.cost(node)));
  }
  return result;
}

double milliseconds(const Cost& cost) { return std::chrono::duration<double, std::milli>(cost.time).count(); }
double kibibytes(const Cost& cost) { return static_cast<double>(cost.heap) / 1024; }

/// The same mesh over the same time without the change, simulated in a child process.
class Twin {
 public:
  Twin(Simulation& mesh, std::chrono::seconds time) : nodes_(mesh.nodes()) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0 || (child_ = fork()) < 0) {
      throw std::system_error(errno, std::generic_category(), "a second process");
    }
    if (child_ == 0) {
      const std::vector<Traffic> traffic = traffic_in(mesh, time);
      const auto octets = std::as_bytes(std::span(traffic));
      for (std::size_t place = 0; place < octets.size();) {
        const ssize_t written = write(ends[1], &octets[place], octets.size() - place);
        if (written <= 0) {
          _exit(1);
        }
        place += static_cast<std::size_t>(written);
      }
      _exit(0);
    }
    close(ends[1]);
    from_child_ = ends[0];
  }
  Twin(const Twin&) = delete;
  Twin& operator=(const Twin&) = delete;
  ~Twin() {
    close(from_child_);
    waitpid(child_, nullptr, 0);
  }

  std::vector<Traffic> traffic() {
    std::vector<Traffic> traffic(nodes_);
    const auto octets = std::as_writable_bytes(std::span(traffic));
    for (std::size_t place = 0; place < octets.size();) {
      const ssize_t count = read(from_child_, &octets[place], octets.size() - place);
      if (count <= 0) {
        throw std::runtime_error("the second process has failed");
      }
      place += static_cast<std::size_t>(count);
    }
    return traffic;
  }

 private:
  std::size_t nodes_;
  pid_t child_ = -1;
  int from_child_ = -1;
};

/// What plugging or unplugging the spare cable costs beyond what the nodes send anyway.
void add_change(GrowthTable& table, const std::string& name, Simulation& mesh, bool plugged_in) {
  Twin unchanged(mesh, INTERVAL);
  mesh.set_plugged_in(mesh.cables().size() - 1, plugged_in);
  std::vector<Traffic> more = traffic_in(mesh, INTERVAL);
  std::ranges::transform(more, unchanged.traffic(), more.begin(), std::minus());
  const Cable& cable = mesh.cables().back();
  std::vector<Traffic> ends{more[cable.left], more[cable.right]};
  more[cable.left] = more[cable.right] = {};
  const auto own = [](const Traffic& node) {
    return static_cast<double>(static_cast<std::int64_t>(node.own_frames()));
  };
  table.add(name + ": own frames of an end", 0, spread(ends, own).mean);
  table.add("  own frames of any other node", 1, spread(more, own).mean);
  table.add("    most of a node", 0, spread(more, own).most);
  table.add("  frames that a node relays", 1, spread(more, [](const Traffic& node) {
                                                return static_cast<double>(static_cast<std::int64_t>(
                                                    node.frames[static_cast<std::size_t>(Kind::RELAYED)]));
                                              }).mean);
}

void measure(GrowthTable& table, const Shape& shape) {
  table.begin_column();
  const auto began = std::chrono::steady_clock::now();
  Simulation mesh(shape, {.interval = INTERVAL, .heap = heap_in_use});
  const auto time_until = [&](bool (Simulation::*knows)(std::size_t) const) {
    const auto all_know = [&] {
      std::size_t node = 0;
      while (node < mesh.nodes() && (mesh.*knows)(node)) {
        ++node;
      }
      return node == mesh.nodes();
    };
    return mesh.run_until(all_know, 10 * INTERVAL) ? static_cast<double>(mesh.now().count()) / 1000 : -1;
  };
  table.add("all nodes know all nodes after, s", 0, time_until(&Simulation::knows_all));
  table.add("  and the metrics of all links after, s", 0, time_until(&Simulation::knows_all_metrics));
  const std::vector<Traffic> start = traffic_of(mesh);
  table.add("  frames sent by a node until then", 0, spread(start, &Traffic::all_frames).mean);
  table.add("  time of the processor until then, ms", 1, cost(mesh, milliseconds).mean);

  mesh.run(4 * INTERVAL);  // the first wave of repeated queries begins
  const double time_before = cost(mesh, milliseconds).mean;
  constexpr int MINUTES = 6;  // of quiet
  const std::vector<Traffic> quiet = traffic_in(mesh, std::chrono::minutes(MINUTES));
  for (std::size_t kind = 0; kind < KINDS; ++kind) {
    const Spread frames = spread(quiet, [&](const Traffic& node) { return node.frames[kind]; });
    table.add(std::string("quiet, frames a minute, ") + KIND_NAMES[kind], 1, frames.mean / MINUTES);
  }
  table.add("quiet, own frames a minute, most of a node", 1, spread(quiet, &Traffic::own_frames).most / MINUTES);
  table.add("quiet, all octets a minute", 0, spread(quiet, &Traffic::all_octets).mean / MINUTES);
  table.add("quiet, time of the processor a minute, ms", 2, (cost(mesh, milliseconds).mean - time_before) / MINUTES);
  table.add("memory of a node, KiB", 0, cost(mesh, kibibytes).mean);
  table.add("  for each node of the mesh, octets, most", 0,
            cost(mesh, kibibytes).most * 1024 / static_cast<double>(mesh.nodes()));

  add_change(table, "a link more", mesh, true);
  add_change(table, "a link less", mesh, false);
  std::cerr << shape.name << ' ' << shape.nodes << ": "
            << std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count() << " s\n";
}

}  // namespace

/// Arguments: the largest size, then the name of a shape; all of them by default.
int main(int argc, char** argv) {
  const std::size_t most = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000;
  constexpr std::size_t MOST_ON_A_SWITCH = 100;  // all of them are neighbours
  for (const auto make : {chain, star, tree, ring, random, one_switch}) {
    const std::string name = make(SIZES[0]).name;
    if (argc > 2 && name != argv[2]) {
      continue;
    }
    GrowthTable table;
    std::vector<std::size_t> sizes;
    for (const std::size_t size : SIZES) {
      if (size <= (make == one_switch ? std::min(most, MOST_ON_A_SWITCH) : most)) {
        sizes.push_back(size);
        measure(table, make(size));
      }
    }
    table.print(std::cout, name, sizes);
    std::cout << std::flush;
  }
  return 0;
}
