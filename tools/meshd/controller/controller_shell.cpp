#include "tools/meshd/controller/controller_shell.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <utility>

#include "qel/core/text.h"
#include "tools/command_line.h"
#include "tools/json_line.h"
#include "tools/meshd/controller/mesh_view.h"
#include "tools/meshd/controller/targets.h"
#include "tools/meshd/shell_answer.h"
#include "tools/meshd/shell_module.h"
#include "tools/meshd/view/names.h"
#include "tools/safe_text.h"

namespace meshd::controller {

namespace {

using Clock = std::chrono::steady_clock;
using qel::MACAddress;

/// A word that stands for none.
constexpr const char* NONE = "-";

Names read_given_names() {
  std::ifstream file("/etc/ethers");
  return read_names(file);
}

bool is_json(const std::vector<std::string>& words, std::size_t place) {
  const std::string format = words.size() > place ? qel::to_upper(words[place]) : "TEXT";
  if (format != "JSON" && format != "TEXT") {
    throw std::invalid_argument("the formats are TEXT and JSON");
  }
  return format == "JSON";
}

template <class Number>
Number parse(const std::string& text, Number lowest, Number highest) {
  const std::optional<Number> number = tools::parse_number<Number>(text);
  if (!number || *number < lowest || *number > highest) {
    throw std::invalid_argument("'" + text + "' is not a number from " + std::to_string(lowest) + " to " +
                                std::to_string(highest));
  }
  return *number;
}

qel::ChannelWidth parse_width(const std::string& text) {
  using enum qel::ChannelWidth;
  for (const auto width : {WIDTH_20_MHZ, WIDTH_40_MHZ, WIDTH_80_MHZ, WIDTH_160_MHZ}) {
    if (enum_to_string(width) == text + " MHz") {
      return width;
    }
  }
  throw std::invalid_argument("the widths are 20, 40, 80 and 160 MHz");
}

std::string join(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) {
    text += (text.empty() ? "" : " ") + word;
  }
  return text;
}

void print(std::ostream& os, OrderBook::Number number, const OrderBook::Order& order) {
  const Result& result = *order.result;
  tools::JsonLine json(os);
  json.write([&] {
    json.member("order", number);
    json.member("what", tools::to_utf8(order.what));
    json.member("success", result.is_success);
    json.member("took", result.took.count());
    json.member("text", tools::to_utf8(result.text));
    json.objects("answer", result.answer, [&](const Result::Part& part) {
      json.member("type", part.type);
      json.member("text", tools::to_utf8(part.text));
    });
  });
}

}  // namespace

template <ControllerShell::Answer ANSWER, std::size_t FEWEST, std::size_t MOST>
int ControllerShell::run(ctlcmd_session* session, int argc, const char* const* argv, void* context) {
  bool is_success = true;
  const int failure = answer(session, [&](std::ostream& os) {
    const Words words(argv + 1, argv + argc);
    if (words.size() < FEWEST || words.size() > MOST) {
      throw std::invalid_argument(words.size() < FEWEST ? "too few arguments" : "too many arguments");
    }
    is_success = (static_cast<ControllerShell*>(context)->*ANSWER)(os, words);
  });
  return is_success ? failure : CTLCMD_FAILED;
}

ControllerShell::ControllerShell(Controller& controller, qel::daemon::Mainloop& loop)
    : controller_(controller), loop_(loop) {
  constexpr std::size_t ANY = std::numeric_limits<std::size_t>::max();
  static constexpr struct {
    const char* name;
    qel::daemon::CtlcmdModule::Handler handler;
    const char* help;
  } COMMANDS[] = {
      {"MESH", run<&ControllerShell::mesh, 0, 1>, "show agents, radios, BSSs and clients: TEXT (default) or JSON"},
      {"STEER", run<&ControllerShell::steer, 2, 3>,
       "ask a client to move: CLIENT BSSID [OPEN]; with OPEN, other access points still accept it"},
      {"BLOCK", run<&ControllerShell::block, 2, ANY>,
       "have BSSs refuse a client, by default those where it is not: CLIENT SECONDS [BSSID...]; 0 seconds end it"},
      {"CHANNEL", run<&ControllerShell::channel, 3, 3>, "move a radio: RADIO CHANNEL WIDTH"},
      {"PLAN", run<&ControllerShell::plan, 0, 1>,
       "show which channels would be better: TEXT (default), JSON; or APPLY"},
      {"POLICY", run<&ControllerShell::policy, 0, 1>, "show the policy; RELOAD reads its file again"},
      {"ASK", run<&ControllerShell::ask, 2, 4>, "ask an agent: AGENT WHAT [CLIENT [BSSID]]; - stands for none"},
      {"RESULT", run<&ControllerShell::result, 1, 2>,
       "tell what came of an order: NUMBER, then TEXT (default) or JSON"},
  };
  start_module(loop_, MODULE, this, COMMANDS);
}

ControllerShell::~ControllerShell() { loop_.remove_ctlcmd_module(MODULE); }

template <class Start>
bool ControllerShell::order(std::ostream& os, const std::string& what, Start start) {
  const OrderBook::Number number = orders_.add(what, start);
  os << "order " << number << '\n';
  return true;
}

bool ControllerShell::mesh(std::ostream& os, const Words& words) {
  const MeshView view =
      view_mesh(loop_.get_name(), controller_.al_mac(), controller_.model(), read_given_names(), Clock::now());
  is_json(words, 0) ? print_json(os, view) : print_text(os, view);
  return true;
}

bool ControllerShell::steer(std::ostream& os, const Words& words) {
  const bool is_open = words.size() > 2;
  if (is_open && qel::to_upper(words[2]) != "OPEN") {
    throw std::invalid_argument("the third argument can only be OPEN");
  }
  const Names names = read_given_names();
  const MACAddress client = find_station(words[0], names);
  const MACAddress bssid = find_bssid(words[1], controller_.model(), names);
  return order(os, "steer " + join(words), [&](OnResult on_result) {
    controller_.steer(client, bssid, !is_open, Clock::now(), std::move(on_result));
  });
}

bool ControllerShell::block(std::ostream& os, const Words& words) {
  const Names names = read_given_names();
  const MACAddress client = find_station(words[0], names);
  const auto duration = parse<std::uint16_t>(words[1], 0, std::numeric_limits<std::uint16_t>::max());
  std::vector<MACAddress> bssids;
  std::transform(words.begin() + 2, words.end(), std::back_inserter(bssids),
                 [&](const std::string& word) { return find_bssid(word, controller_.model(), names); });
  return order(os, "block " + join(words), [&](const OnResult& on_result) {
    controller_.block(client, std::move(bssids), duration, Clock::now(), on_result);
  });
}

bool ControllerShell::channel(std::ostream& os, const Words& words) {
  const MACAddress radio = find_radio(words[0], controller_.model(), read_given_names());
  const auto number = parse<unsigned int>(words[1], 1, 255);
  const qel::ChannelWidth width = parse_width(words[2]);
  return order(os, "channel " + join(words), [&](OnResult on_result) {
    controller_.set_channel(radio, number, width, Clock::now(), std::move(on_result));
  });
}

bool ControllerShell::plan(std::ostream& os, const Words& words) {
  if (!words.empty() && qel::to_upper(words[0]) == "APPLY") {
    return order(os, "plan", [&](OnResult on_result) { controller_.apply_plan(Clock::now(), std::move(on_result)); });
  }
  const Controller::Planned planned = controller_.plan(Clock::now());
  os << (is_json(words, 0) ? plan_json(planned.input, planned.plan) : plan_text(planned.input, planned.plan));
  return true;
}

bool ControllerShell::policy(std::ostream& os, const Words& words) {
  if (!words.empty()) {
    if (qel::to_upper(words[0]) != "RELOAD") {
      throw std::invalid_argument("the argument can only be RELOAD");
    }
    controller_.reload_policy(Clock::now());
  }
  os << policy_text(controller_.policy());
  return true;
}

bool ControllerShell::ask(std::ostream& os, const Words& words) {
  const Names names = read_given_names();
  const MACAddress agent = find_agent(words[0], controller_.model(), names);
  Question question{words[1]};
  if (words.size() > 2 && words[2] != NONE) {
    question.client = find_station(words[2], names);
  }
  if (words.size() > 3 && words[3] != NONE) {
    question.bssid = find_bssid(words[3], controller_.model(), names);
  }
  return order(os, "ask " + join(words),
               [&](OnResult on_result) { controller_.ask(question, agent, Clock::now(), std::move(on_result)); });
}

bool ControllerShell::result(std::ostream& os, const Words& words) {
  const auto number = parse<OrderBook::Number>(words[0], 0, std::numeric_limits<OrderBook::Number>::max());
  const bool wants_json = is_json(words, 1);
  const OrderBook::Order* order = orders_.find(number);
  if (order == nullptr) {
    throw std::invalid_argument("there is no order " + words[0] + ", or no longer");
  }
  if (!order->result) {
    os << "pending\n";
    return true;
  }
  if (wants_json) {
    print(os, number, *order);
  } else {
    os << order->result->text << "\ntook " << seconds_text(order->result->took) << '\n';
  }
  return order->result->is_success;
}

}  // namespace meshd::controller
