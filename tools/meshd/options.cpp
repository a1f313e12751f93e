#include "tools/meshd/options.h"

#include <getopt.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <sstream>
#include <string_view>

#include "tools/command_line.h"
#include "tools/meshd/entity/entity.h"

namespace meshd {

namespace {

constexpr int LONGEST_INTERVAL = 3600;  // seconds
constexpr int MOST_DEVICES = 4096;      // their memory fits into the limit on our data

/// All loggers, here and in the library.
constexpr std::array<std::string_view, 8> COMPONENTS = {
    "meshd", "mainloop",      "QELAssociatedSTAIdleStateTLV", "QELBTMQueryTLV", "state_machine", "Task",
    "Timer", "type_validator"};

std::string list_components() {
  std::string text;
  for (const std::string_view component : COMPONENTS) {
    text.append(text.empty() ? "" : ", ").append(component);
  }
  return text;
}

std::string help() {
  const Options defaults;
  std::ostringstream text;
  text << R"(A node of an IEEE 1905.1 mesh on the given interfaces.
Usage: meshd --interface IF... [OPTION]...

Options:
  -h, --help                    Print this help and exit
      --version                 Print the version and exit
  -i, --interface IF...         The interfaces to use; a bridge stands for its ports, and a pattern such as 'wlan*'
                                for all interfaces that match, whenever they appear
      --al-mac MAC              The AL MAC address of this device; by default derived from the first interface
      --state-directory DIR     Keep the AL MAC address in this directory across restarts
      --name NAME               The name under which meshctl finds this daemon; meshd by default
      --discovery-interval SECONDS
                                Time between announcements, 1 to )"
       << LONGEST_INTERVAL << "; " << defaults.discovery_interval.count() << R"( by default
      --devices NUMBER          Maximum number of other devices to know, up to )"
       << MOST_DEVICES << "; " << defaults.devices << R"( by default
      --agent                   Be a Multi-AP agent; needs radios
      --backhaul IF...          The interfaces on which the agent accepts a controller's orders; none by default
      --controller              Be a Multi-AP controller
      --policy FILE             What the controller does on its own, see meshd-policy(5)
      --daemonize               Run in the background, or as a service under a service manager
      --debug COMPONENT...      Show the debug messages of these components

Components: )"
       << list_components() << '\n';
  return text.str();
}

enum Option : int {
  FURTHER_WORD = 1,
  HELP_OPTION = 'h',
  INTERFACE = 'i',
  VERSION = 256,
  AL_MAC,
  STATE_DIRECTORY,
  NAME,
  DEVICES,
  INTERVAL,
  POLICY,
  AGENT,
  BACKHAUL,
  CONTROLLER,
  DAEMONIZE,
  DEBUG
};

/// Words are returned in order, including those that are not options. An option without its value is reported as such.
constexpr const char* SHORT_OPTIONS = "-:hi:";

constexpr option LONG_OPTIONS[] = {
    {"help", no_argument, nullptr, HELP_OPTION},
    {"version", no_argument, nullptr, VERSION},
    {"interface", required_argument, nullptr, INTERFACE},
    {"al-mac", required_argument, nullptr, AL_MAC},
    {"state-directory", required_argument, nullptr, STATE_DIRECTORY},
    {"name", required_argument, nullptr, NAME},
    {"devices", required_argument, nullptr, DEVICES},
    {"discovery-interval", required_argument, nullptr, INTERVAL},
    {"agent", no_argument, nullptr, AGENT},
    {"backhaul", required_argument, nullptr, BACKHAUL},
    {"controller", no_argument, nullptr, CONTROLLER},
    {"policy", required_argument, nullptr, POLICY},
    {"daemonize", no_argument, nullptr, DAEMONIZE},
    {"debug", required_argument, nullptr, DEBUG},
    {},
};

qel::MACAddress parse_al_mac(const std::string& text) {
  qel::MACAddress address;
  if (!address.parse_string(text) || !is_valid_individual_mac_address(address)) {
    throw tools::UsageError("--al-mac: '" + text + "' is not the MAC address of a device");
  }
  return address;
}

/// From 1 to `most`.
int parse_number(const std::string& option, const std::string& text, int most) {
  const int number = tools::parse_number<int>(text).value_or(0);
  if (number < 1 || number > most) {
    throw tools::UsageError(option + ": '" + text + "' is not a number from 1 to " + std::to_string(most));
  }
  return number;
}

void check_components(const std::vector<std::string>& components) {
  for (const std::string& component : components) {
    if (std::ranges::find(COMPONENTS, component) == COMPONENTS.end()) {
      throw tools::UsageError("--debug: unknown component '" + component + "'; the components are " +
                              list_components());
    }
  }
}

void check_interfaces(std::vector<std::string> interfaces) {
  if (interfaces.empty()) {
    throw tools::UsageError("--interface is required");
  }
  std::sort(interfaces.begin(), interfaces.end());
  if (const auto twice = std::adjacent_find(interfaces.begin(), interfaces.end()); twice != interfaces.end()) {
    throw tools::UsageError("--interface: '" + *twice + "' is given twice");
  }
  if (interfaces.size() > Entity::MAX_INTERFACES) {
    throw tools::UsageError("--interface: at most " + std::to_string(Entity::MAX_INTERFACES) + " are allowed");
  }
}

void check_roles(const Options& options) {
  if (!options.backhaul.empty() && !options.is_agent) {
    throw tools::UsageError("--backhaul is for an agent; give --agent too");
  }
  if (!options.policy.empty() && !options.is_controller) {
    throw tools::UsageError("--policy is for a controller; give --controller too");
  }
}

}  // namespace

Options parse_options(int argc, char* const* argv) {
  Options options;
  std::vector<std::string>* list = nullptr;  // the list of the last option that takes several words
  std::set<int> given;                       // options that may be given only once
  opterr = 0;
  for (;;) {
    const std::string word = optind < argc ? argv[optind] : "";
    const int option = getopt_long(argc, argv, SHORT_OPTIONS, LONG_OPTIONS, nullptr);
    if (option == -1) {
      break;
    }
    const char* const value = optarg != nullptr ? optarg : "";
    if (option == FURTHER_WORD && list != nullptr) {
      list->emplace_back(value);
      continue;
    }
    list = nullptr;
    if (option == ':' || (value == argv[optind - 1] && *value == '-')) {
      throw tools::UsageError(word + " needs a value");
    }
    if (option >= AL_MAC && option <= POLICY && !given.insert(option).second) {
      throw tools::UsageError(word + " is given twice");
    }
    switch (option) {
      case HELP_OPTION:
        options.notice = help();
        return options;
      case VERSION:
        options.notice = "meshd " MESHD_VERSION "\n";
        return options;
      case INTERFACE:
        list = &options.interfaces;
        list->emplace_back(value);
        break;
      case AL_MAC:
        options.al_mac = parse_al_mac(value);
        break;
      case STATE_DIRECTORY:
        options.state_directory = value;
        break;
      case NAME:
        options.name = value;
        break;
      case INTERVAL:
        options.discovery_interval =
            std::chrono::seconds(parse_number("--discovery-interval", value, LONGEST_INTERVAL));
        break;
      case DEVICES:
        options.devices = static_cast<std::size_t>(parse_number("--devices", value, MOST_DEVICES));
        break;
      case POLICY:
        options.policy = std::filesystem::absolute(value);
        break;
      case AGENT:
        options.is_agent = true;
        break;
      case BACKHAUL:
        list = &options.backhaul;
        list->emplace_back(value);
        break;
      case CONTROLLER:
        options.is_controller = true;
        break;
      case DAEMONIZE:
        options.daemonize = true;
        break;
      case DEBUG:
        list = &options.debug_components;
        list->emplace_back(value);
        break;
      default:
        throw tools::UsageError((option == FURTHER_WORD ? "unexpected argument '" : "unknown option '") + word + "'");
    }
  }
  if (optind < argc) {
    throw tools::UsageError(std::string("unexpected argument '") + argv[optind] + "'");
  }
  check_interfaces(options.interfaces);
  check_components(options.debug_components);
  check_roles(options);
  return options;
}

}  // namespace meshd
