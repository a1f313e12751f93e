#include "tools/meshctl/options.h"

#include <CLI/CLI.hpp>

namespace meshctl {

namespace {

constexpr const char* DESCRIPTION = "Talks to the daemons on this machine's message bus.";
constexpr const char* FOOTER = "Exit status: 0 for success, 1 for failure, 2 for wrong usage.";

CLI::App* add_verb(CLI::App& app, Options& options, Verb verb, const std::string& name,
                   const std::string& description) {
  CLI::App* subcommand = app.add_subcommand(name, description);
  subcommand->callback([&options, verb] { options.verb = verb; });
  if (verb != Verb::LIST) {
    subcommand->add_option("NAME", options.name, "The daemon's name, as \"meshctl list\" shows it")
        ->type_name("")
        ->required();
  }
  return subcommand;
}

}  // namespace

Options parse_options(int argc, const char* const* argv) {
  Options options;
  bool json = false;
  bool dot = false;
  CLI::App app(DESCRIPTION, "meshctl");
  app.footer(FOOTER);
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.set_version_flag("--version", "meshctl " MESHCTL_VERSION, "Print the version and exit");
  app.require_subcommand(1);
  add_verb(app, options, Verb::LIST, "list", "List the daemons that run");
  add_verb(app, options, Verb::EXEC, "exec", "Run a command of a daemon's debug shell")
      ->add_option("COMMAND", options.words, "The command with its arguments, or a module, its command and arguments")
      ->type_name("")
      ->required();
  add_verb(app, options, Verb::SHELL, "shell", "Run commands line by line; QUIT leaves");
  add_verb(app, options, Verb::LOG, "log", "Print a daemon's last log lines")
      ->add_flag("-f,--follow", options.follow, "Go on with those to come until the daemon ends");
  add_verb(app, options, Verb::EVENTS, "events", "Print a daemon's events as they come");
  CLI::App* topology = add_verb(app, options, Verb::TOPOLOGY, "topology", "Print what a daemon knows of the mesh");
  CLI::Option* json_flag = topology->add_flag("--json", json, "As JSON");
  topology->add_flag("--dot", dot, "As a graph for Graphviz")->excludes(json_flag);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    options.notice = app.help();
  } catch (const CLI::CallForVersion& version) {
    options.notice = std::string(version.what()) + '\n';
  } catch (const CLI::ParseError& error) {
    throw UsageError(error.what());
  }
  if (json) {
    options.format = "JSON";
  } else if (dot) {
    options.format = "DOT";
  }
  return options;
}

}  // namespace meshctl
