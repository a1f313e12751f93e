#include "tools/meshd/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "tools/meshd/entity.h"

namespace meshd {

namespace {

constexpr const char* DESCRIPTION = "A node of an IEEE 1905.1 mesh: one abstraction layer entity on some interfaces.";
constexpr int LONGEST_INTERVAL = 3600;  // seconds

qel::MACAddress parse_al_mac(const std::string& text) {
  qel::MACAddress address;
  if (!address.parse_string(text) || !is_valid_individual_mac_address(address)) {
    throw UsageError("--al-mac: '" + text + "' is no MAC address of a device");
  }
  return address;
}

}  // namespace

Options parse_options(int argc, const char* const* argv) {
  Options options;
  std::string al_mac;
  int interval = static_cast<int>(options.discovery_interval.count());
  CLI::App app(DESCRIPTION, "meshd");
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.set_version_flag("--version", "meshd " MESHD_VERSION, "Print the version and exit");
  app.add_option("-i,--interface", options.interfaces, "The Ethernet interfaces to work on")
      ->type_name("IF")
      ->required();
  app.add_option("--al-mac", al_mac, "The address of this device; by default made from the first interface's")
      ->type_name("MAC");
  app.add_option("--name", options.name, "What meshctl finds this daemon by")->type_name("NAME")->capture_default_str();
  app.add_option("--discovery-interval", interval, "Seconds between two announcements")
      ->type_name("SECONDS")
      ->check(CLI::Range(1, LONGEST_INTERVAL))
      ->capture_default_str();
  app.add_flag("--daemonize", options.daemonize, "Run in the background, or as a service of a service manager");
  app.add_option("--debug", options.debug_components, "Show the debug messages of these components")
      ->type_name("COMPONENT");
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    options.notice = app.help();
    return options;
  } catch (const CLI::CallForVersion& version) {
    options.notice = std::string(version.what()) + '\n';
    return options;
  } catch (const CLI::ParseError& error) {
    throw UsageError(error.what());
  }
  if (!al_mac.empty()) {
    options.al_mac = parse_al_mac(al_mac);
  }
  options.discovery_interval = std::chrono::seconds(interval);
  std::vector<std::string> sorted = options.interfaces;
  std::sort(sorted.begin(), sorted.end());
  if (const auto twice = std::adjacent_find(sorted.begin(), sorted.end()); twice != sorted.end()) {
    throw UsageError("--interface: '" + *twice + "' is given twice");
  }
  if (sorted.size() > Entity::MAX_INTERFACES) {
    throw UsageError("--interface: there may be " + std::to_string(Entity::MAX_INTERFACES) + " at most");
  }
  return options;
}

}  // namespace meshd
