// The mesh as a tree. Each level has columns of its own, which are aligned throughout the tree.

#include <algorithm>
#include <array>
#include <ostream>

#include "qel/channel/frequency.h"
#include "tools/meshd/controller/mesh_view.h"
#include "tools/meshd/controller/result.h"
#include "tools/safe_text.h"
#include "tools/text_table.h"

namespace meshd::controller {

namespace {

using std::chrono::seconds;
using tools::for_terminal_line;

/// Older facts are shown with their age.
constexpr seconds OLD{30};

enum Level : std::size_t { AGENT, RADIO, BSS, CLIENT, LEVELS };

struct Line {
  Level level;
  std::string branch;  ///< of the tree
  std::vector<std::string> cells;
};

/// Right-aligned columns hold numbers with their unit, as in "-52 dBm".
constexpr std::array<std::string_view, LEVELS> ALIGNMENT = {"LLL", "LLLRRRLL", "LLL", "LLRRRRRRLL"};

class Tree {
 public:
  void add(Level level, std::string branch, std::vector<std::string> cells) {
    std::vector<std::size_t>& widths = widths_[level];
    widths.resize(std::max(widths.size(), cells.size()));
    for (std::size_t column = 0; column < cells.size(); ++column) {
      widths[column] = std::max(widths[column], tools::count_characters(cells[column]));
    }
    lines_.push_back({level, std::move(branch), std::move(cells)});
  }

  void print(std::ostream& os) const {
    for (const Line& line : lines_) {
      std::string text = line.branch;
      const char* gap = "";
      for (std::size_t column = 0; column < line.cells.size(); ++column) {
        const std::size_t width = widths_[line.level][column];
        if (width == 0) {
          continue;  // nobody has it
        }
        const std::string padding(width - tools::count_characters(line.cells[column]), ' ');
        const bool is_right = ALIGNMENT[line.level][column] == 'R';
        text += gap + (is_right ? padding + line.cells[column] : line.cells[column] + padding);
        gap = "  ";
      }
      os << text.erase(text.find_last_not_of(' ') + 1) << '\n';
    }
  }

 private:
  std::vector<Line> lines_;
  std::array<std::vector<std::size_t>, LEVELS> widths_;
};

template <class T>
std::string text_of(const std::optional<T>& number, const char* unit) {
  return number ? std::to_string(*number) + unit : "";
}

std::string two_digits(long number) { return (number < 10 ? "0" : "") + std::to_string(number); }

/// "59 s", "5:59 min", "3:05 h" or "2 d".
std::string duration_text(seconds time) {
  const auto all = static_cast<long>(time.count());
  if (all < 60) {
    return std::to_string(all) + " s";
  }
  if (all < 3600) {
    return std::to_string(all / 60) + ':' + two_digits(all % 60) + " min";
  }
  return all < 86400 ? std::to_string(all / 3600) + ':' + two_digits(all / 60 % 60) + " h"
                     : std::to_string(all / 86400) + " d";
}

std::string age_text(const MeshView::Age& age) { return age && *age > OLD ? "(" + duration_text(*age) + " old)" : ""; }

/// "2.0 Mb/s", of kb/s; empty for next to nothing.
std::string traffic_text(const std::optional<std::uint64_t>& rate, const std::string& before, const char* after) {
  const std::uint64_t tenths = rate.value_or(0) / 100;
  return tenths == 0 ? "" : before + std::to_string(tenths / 10) + '.' + std::to_string(tenths % 10) + " Mb/s" + after;
}

std::string state_text(const MeshView::Agent& agent) {
  switch (agent.state) {
    case AgentState::JOINING:
      return "is joining";
    case AgentState::JOINED:
      return agent.heard > 2 * OLD ? "heard " + duration_text(agent.heard) + " ago" : "";
    case AgentState::LOST:
      return "LOST, heard " + duration_text(agent.heard) + " ago";
  }
  return {};
}

std::string steering_text(const MeshView::Client& client) {
  if (!client.asked) {
    return {};
  }
  const std::string answer = client.last_status ? btm_status_text(*client.last_status) : "no response";
  return "asked to move " + duration_text(*client.asked) + " ago: " + answer;
}

std::string name_of_agent(const MeshView& view, const qel::MACAddress& al_mac) {
  const auto agent = std::ranges::find(view.agents, al_mac, &MeshView::Agent::al_mac);
  return agent == view.agents.end() || agent->name.empty() ? al_mac.to_string() : for_terminal_line(agent->name);
}

template <class List, class Add>
void add_branches(const List& list, const std::string& stem, Add add) {
  for (const auto& one : list) {
    const bool is_last = &one == &list.back();
    add(one, stem + (is_last ? "└─ " : "├─ "), stem + (is_last ? "   " : "│  "));
  }
}

void add_client(Tree& tree, const MeshView& view, const MeshView::Client& client, const std::string& branch) {
  tree.add(CLIENT, branch,
           {client.mac.to_string(),
            client.leads_to ? "backhaul of " + name_of_agent(view, *client.leads_to) : for_terminal_line(client.name),
            text_of(client.signal, " dBm"), text_of(client.downlink_rate, " Mb/s down"),
            text_of(client.uplink_rate, " Mb/s up"), traffic_text(client.downlink, "uses ", " down"),
            traffic_text(client.uplink, client.downlink.value_or(0) < 100 ? "uses " : "", " up"),
            client.connected ? "connected " + duration_text(*client.connected) : "", age_text(client.measured),
            steering_text(client)});
}

void add_radio(Tree& tree, const MeshView& view, const MeshView::Radio& radio, const std::string& branch,
               const std::string& stem) {
  const bool is_on = radio.channel.has_value();
  tree.add(RADIO, branch,
           {is_on ? enum_to_string(qel::frequency_to_band(radio.channel->frequency)) : "channel unknown",
            radio.id.to_string(),
            is_on ? "channel " + std::to_string(qel::frequency_to_channel(radio.channel->frequency)) : "",
            is_on ? enum_to_string(radio.channel->width) : "", text_of(radio.power, " dBm"),
            text_of(radio.utilization, " % busy"), age_text(radio.utilization_age),
            radio.switched ? "switched " + duration_text(*radio.switched) + " ago" : ""});
  add_branches(radio.bss, stem, [&](const MeshView::Bss& bss, const std::string& twig, const std::string& below) {
    tree.add(BSS, twig,
             {bss.bssid.to_string(), '"' + for_terminal_line(bss.ssid) + '"', bss.clients.empty() ? "no clients" : ""});
    add_branches(bss.clients, below, [&](const MeshView::Client& client, const std::string& leaf, const std::string&) {
      add_client(tree, view, client, leaf);
    });
  });
}

std::string count_text(std::size_t count, const std::string& what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string summary(const MeshView& view) {
  std::size_t radios = 0;
  std::size_t bss = 0;
  std::size_t clients = 0;
  for (const MeshView::Agent& agent : view.agents) {
    radios += agent.radios.size();
    for (const MeshView::Radio& radio : agent.radios) {
      bss += radio.bss.size();
      for (const MeshView::Bss& one : radio.bss) {
        clients += one.clients.size();
      }
    }
  }
  return count_text(view.agents.size(), "agent") + ", " + count_text(radios, "radio") + ", " + count_text(bss, "BSS") +
         ", " + count_text(clients, "client");
}

}  // namespace

void print_text(std::ostream& os, const MeshView& view) {
  os << "controller " << view.al_mac << ": " << (view.agents.empty() ? "no agents yet" : summary(view)) << '\n';
  for (const qel::MACAddress& other : view.other_controllers) {
    os << "there is another controller: " << other << '\n';
  }
  Tree tree;
  for (const MeshView::Agent& agent : view.agents) {
    tree.add(AGENT, "", {agent.al_mac.to_string(), for_terminal_line(agent.name), state_text(agent)});
    add_branches(agent.radios, "",
                 [&](const MeshView::Radio& radio, const std::string& branch, const std::string& stem) {
                   add_radio(tree, view, radio, branch, stem);
                 });
  }
  tree.print(os);
}

}  // namespace meshd::controller
