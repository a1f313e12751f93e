#include "tools/meshctl/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>

#include "qel/core/text.h"
#include "tools/command_line.h"

namespace meshctl {

namespace {

constexpr const char* DESCRIPTION = "Controls the daemons on this machine's message bus.";
constexpr const char* COMMANDS = "Commands";  // the parser calls them subcommands
constexpr const char* FOOTER =
    "Exit status: 0 on success, 1 on failure, 2 for wrong usage or a question without an answer.";

void add_name(CLI::App& command, Options& options, bool is_required) {
  const std::string hint = is_required ? "" : "; not needed if only one is running";
  command.add_option("NAME", options.name, "The daemon's name, as shown by \"meshctl list\"" + hint)
      ->type_name("")
      ->required(is_required);
}

CLI::App* add_verb(CLI::App& app, Options& options, Verb verb, const std::string& name,
                   const std::string& description) {
  CLI::App* subcommand = app.add_subcommand(name, description)->group(COMMANDS);
  subcommand->callback([&options, verb] { options.verb = verb; });
  if (verb != Verb::LIST) {
    add_name(*subcommand, options, verb == Verb::EXEC);
  }
  return subcommand;
}

template <class Value>
using Choices = std::vector<std::pair<std::string, Value>>;

/// Adds an option whose value is one of the names.
template <class Target, class Value>
CLI::Option* add_choice(CLI::App& app, const std::string& name, Target& target, const Choices<Value>& choices,
                        const std::string& description) {
  const auto take = [&target, choices](const std::string& choice) {
    target = std::ranges::find(choices, choice, &Choices<Value>::value_type::first)->second;
  };
  return app.add_option_function<std::string>(name, take, description)
      ->type_name(qel::to_upper(name.substr(2)))
      ->check(CLI::IsMember(choices));
}

/// Integers in decimal; the parser would take a leading zero for octal.
CLI::Validator number_from_to(long lowest, long highest) {
  const auto take = [=](std::string& text) -> std::string {
    const std::optional<long> number = tools::parse_number<long>(text);
    if (!number || *number < lowest || *number > highest) {
      return "Value " + text + " is not an integer from " + std::to_string(lowest) + " to " + std::to_string(highest);
    }
    text = std::to_string(*number);
    return {};
  };
  return CLI::Validator(take, "");
}

CLI::App* add_opclass_verb(CLI::App& opclass, Options& options, OpclassVerb verb, const std::string& name,
                           const std::string& description) {
  using Region = qel::OperatingClassDeduction::Region;
  const Choices<Region> regions = {{"global", Region::GLOBAL}, {"europe", Region::EUROPE}};
  OpclassQuery& query = options.opclass;
  CLI::App* subcommand = opclass.add_subcommand(name, description)->group(COMMANDS);
  subcommand->callback([&options, verb] {
    options.verb = Verb::OPCLASS;
    options.opclass.verb = verb;
  });
  add_choice(*subcommand, "--region", query.region, regions, "Region of the table; global by default");
  subcommand->add_flag("--json", query.json, "As JSON");
  return subcommand;
}

void add_opclass(CLI::App& app, Options& options) {
  using qel::ChannelWidth;
  const Choices<ChannelWidth> widths = {{"20", ChannelWidth::WIDTH_20_MHZ},
                                        {"40", ChannelWidth::WIDTH_40_MHZ},
                                        {"80", ChannelWidth::WIDTH_80_MHZ},
                                        {"160", ChannelWidth::WIDTH_160_MHZ},
                                        {"80+80", ChannelWidth::WIDTH_80_80_MHZ}};
  constexpr long HIGHEST = 100'000;  // MHz; no class has higher frequencies
  OpclassQuery& query = options.opclass;
  CLI::App* opclass = app.add_subcommand("opclass", "Look up operating classes")->group(COMMANDS);
  opclass->require_subcommand(0, 1);
  CLI::Option* radio = opclass->add_option("--radio", options.radio, "Print the classes that a daemon's radio supports")
                           ->type_name("RADIO");
  opclass->add_flag("--json", options.json, "As JSON")->needs(radio);
  add_name(*opclass, options, false);
  opclass->callback([&options, opclass] {
    if (opclass->get_subcommands().empty()) {
      options.verb = Verb::CLASSES;
    }
  });
  add_opclass_verb(*opclass, options, OpclassVerb::TABLE, "table", "Print the classes of a region");

  CLI::App* of = add_opclass_verb(*opclass, options, OpclassVerb::OF, "of", "Print the classes of a channel");
  const auto add_frequency = [of](const std::string& name, auto& frequency, const std::string& description) {
    return of->add_option(name, frequency, description)->type_name("MHZ")->transform(number_from_to(1, HIGHEST));
  };
  add_frequency("--freq", query.frequency, "Center of the primary 20 MHz channel")->required();
  CLI::Option* width = add_choice(*of, "--width", query.width, widths, "Width of the channel");
  add_frequency("--center", query.center,
                "Center of the channel, or of its first segment; not needed if there is only one")
      ->needs(width);
  add_frequency("--secondary", query.secondary_center, "Center of the second segment of an 80+80 MHz channel")
      ->needs(width);

  CLI::App* freq = add_opclass_verb(*opclass, options, OpclassVerb::FREQ, "freq", "Print the frequencies of a channel");
  const auto add_number = [freq](const std::string& name, unsigned char& number, const std::string& description) {
    freq->add_option_function<int>(
            name, [&number](int value) { number = static_cast<unsigned char>(value); }, description)
        ->type_name("")
        ->transform(number_from_to(0, 255))
        ->required();
  };
  add_number("CLASS", query.opclass, "Number of the operating class");
  add_number("CHANNEL", query.channel, "Number of the channel");
}

/// A command for a controller. `add_arguments` adds those that precede the name of the daemon.
template <class AddArguments>
CLI::App* add_controller_verb(CLI::App& app, Options& options, Verb verb, const std::string& name,
                              const std::string& description, AddArguments add_arguments) {
  CLI::App* command = app.add_subcommand(name, description)->group(COMMANDS);
  command->callback([&options, verb] { options.verb = verb; });
  add_arguments(*command);
  add_name(*command, options, false);
  return command;
}

void add_controller(CLI::App& app, Options& options) {
  ControllerRequest& request = options.request;
  const auto add_argument = [](CLI::App& command, const std::string& name, auto& target,
                               const std::string& description) {
    return command.add_option(name, target, description)->type_name("")->required();
  };
  const auto add_json = [&](CLI::App* command) { command->add_flag("--json", options.json, "As JSON"); };

  CLI::App* mesh = add_controller_verb(app, options, Verb::MESH, "mesh", "Print what a controller knows of its agents",
                                       [](CLI::App&) {});
  add_json(mesh);
  mesh->add_flag("--watch", options.watch, "Update every second; in a terminal, in place");

  CLI::App* steer = add_controller_verb(app, options, Verb::STEER, "steer", "Ask a client to move to another BSS",
                                        [&](CLI::App& command) {
                                          add_argument(command, "CLIENT", request.client, "Its address or name");
                                          add_argument(command, "BSSID", request.bssid, "Where it is to go");
                                        });
  steer->add_flag("--open", request.is_open, "Let other access points accept the client in the meantime");
  add_json(steer);

  CLI::App* block = add_controller_verb(
      app, options, Verb::BLOCK, "block", "Have access points refuse a client",
      [&](CLI::App& command) { add_argument(command, "CLIENT", request.client, "Its address or name"); });
  block->add_option("--from", request.from, "Only these BSSs; all but that of the client if not given")
      ->type_name("BSSID")
      ->allow_extra_args(false);
  block->add_option("--for", request.seconds, "How long; 60 if not given, 0 ends a block")
      ->type_name("SECONDS")
      ->transform(number_from_to(0, 65535));
  add_json(block);

  CLI::App* channel =
      add_controller_verb(app, options, Verb::CHANNEL, "channel", "Move a radio to a channel", [&](CLI::App& command) {
        add_argument(command, "RADIO", request.radio, "Its identifier, AGENT, or AGENT/BAND such as attic/5");
        add_argument(command, "CHANNEL", request.channel, "Number of the primary channel")
            ->transform(number_from_to(1, 255));
        add_argument(command, "WIDTH", request.width, "In MHz: 20, 40, 80 or 160")
            ->check(CLI::IsMember({"20", "40", "80", "160"}));
      });
  add_json(channel);

  CLI::App* plan = add_controller_verb(app, options, Verb::PLAN, "plan",
                                       "Print which channels would be better, and why", [](CLI::App&) {});
  plan->add_flag("--apply", request.is_applied, "Move the radios there");
  add_json(plan);

  add_controller_verb(app, options, Verb::POLICY, "policy", "Print the policy of a controller", [](CLI::App&) {
  })->add_flag("--reload", request.is_reloaded, "Read its file again first");

  CLI::App* ask =
      add_controller_verb(app, options, Verb::ASK, "ask", "Ask an agent and print its answer", [&](CLI::App& command) {
        add_argument(command, "AGENT", request.agent, "Its AL MAC address or name");
        add_argument(command, "WHAT", request.what, "Such as capabilities or metrics; a wrong one lists all");
      });
  ask->add_option("--client", request.client, "The client that the question is about")->type_name("CLIENT");
  ask->add_option("--bssid", request.bssid, "The BSS that the question is about")->type_name("BSSID");
  add_json(ask);
}

/// Checks conditions that involve several options.
void check(const Options& options) {
  if (options.verb == Verb::CLASSES && options.radio.empty()) {
    throw tools::UsageError(options.name.empty() ? "a command is required, or --radio"
                                                 : "unknown command '" + options.name + "'");
  }
  if (options.verb == Verb::OPCLASS && !options.radio.empty()) {
    throw tools::UsageError("--radio takes no command");
  }
  const OpclassQuery& query = options.opclass;
  const bool has_two_segments = query.width == qel::ChannelWidth::WIDTH_80_80_MHZ;
  if (has_two_segments && !query.secondary_center) {
    throw tools::UsageError("--width 80+80 requires --secondary");
  }
  if (!has_two_segments && query.secondary_center) {
    throw tools::UsageError("--secondary requires --width 80+80");
  }
}

/// In `exec NAME COMMAND ARGUMENT...`, returns the index of the command's first word; this and all later words belong
/// to the daemon. Returns 0 for anything else. The parser would treat them as options and lists.
int find_words(int argc, const char* const* argv) {
  const auto is_option = [&](int place) { return place >= argc || argv[place][0] == '-'; };
  if (argc < 4 || std::string_view(argv[1]) != "exec" || is_option(2)) {
    return 0;
  }
  const int first = std::string_view(argv[3]) == "--" ? 4 : 3;
  return first < argc && (first == 4 || !is_option(3)) ? first : 0;
}

/// Rephrases the parser's errors in terms of commands.
std::string explain(const CLI::App& app, const CLI::ParseError& error) {
  const CLI::App* inner = &app;
  while (!inner->get_subcommands().empty()) {
    inner = inner->get_subcommands().front();
  }
  const std::vector<std::string> rest = inner->remaining();
  if (inner->get_require_subcommand_min() == 0) {
    return error.what();
  }
  return rest.empty() ? "a command is required"
                      : (rest.front().starts_with('-') ? "unknown option '" : "unknown command '") + rest.front() + "'";
}

}  // namespace

Options parse_options(int argc, const char* const* argv) {
  Options options;
  CLI::App app(DESCRIPTION, "meshctl");
  app.footer(FOOTER);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.set_version_flag("--version", "meshctl " MESHCTL_VERSION, "Print the version and exit");
  app.require_subcommand(1);
  add_verb(app, options, Verb::LIST, "list", "List the running daemons");
  add_verb(app, options, Verb::EXEC, "exec", "Run a command of a daemon's debug shell")
      ->add_option("COMMAND", options.words, "The command with its arguments, or a module, its command and arguments")
      ->type_name("")
      ->required();
  add_verb(app, options, Verb::SHELL, "shell", "Run commands line by line; QUIT exits");
  add_verb(app, options, Verb::LOG, "log", "Print a daemon's last log lines")
      ->add_flag("-f,--follow", options.follow, "Wait for further lines until the daemon exits");
  add_verb(app, options, Verb::EVENTS, "events", "Print a daemon's events as they arrive, with their times")
      ->add_flag("--json", options.json, "As JSON, one object per line");
  CLI::App* topology = add_verb(app, options, Verb::TOPOLOGY, "topology", "Print what a daemon knows of the mesh");
  const auto add_format = [&](const std::string& name, const std::string& format, const std::string& description) {
    return topology->add_flag_callback(
        name, [&options, format] { options.format = format; }, description);
  };
  CLI::Option* brief = add_format("--brief", "BRIEF", "One line per node");
  CLI::Option* json = add_format("--json", "JSON", "As JSON")->excludes(brief);
  CLI::Option* dot = add_format("--dot", "DOT", "As a graph for Graphviz")->excludes(brief)->excludes(json);
  topology->add_option("--html", options.html_file, "Write a page with the map to this file")
      ->type_name("FILE")
      ->excludes(brief)
      ->excludes(json)
      ->excludes(dot);
  for (const auto& [verb, name, description] :
       {std::tuple(Verb::RADIOS, "radios", "Print a daemon's radios and what they do"),
        std::tuple(Verb::CLIENTS, "clients", "Print the stations that a daemon's radios talk to")}) {
    CLI::App* command = add_verb(app, options, verb, name, description);
    command->add_flag("--json", options.json, "As JSON");
    command->add_flag("--watch", options.watch, "Update every second; in a terminal, in place");
  }
  CLI::App* web = add_verb(app, options, Verb::WEB, "web", "Serve a page with the map, which follows the mesh");
  web->add_option("--listen", options.listen, "Where to listen, 127.0.0.1:1905 if not given; port 0 takes a free one")
      ->type_name("ADDRESS:PORT");
  web->add_flag("--allow-actions", options.allows_actions,
                "Let the page steer clients and move radios, with a token in the address that is printed");
  add_controller(app, options);
  add_opclass(app, options);
  const int words = find_words(argc, argv);
  try {
    app.parse(words > 0 ? words + 1 : argc, argv);
  } catch (const CLI::CallForHelp&) {
    options.notice = app.help();
  } catch (const CLI::CallForVersion& version) {
    options.notice = std::string(version.what()) + '\n';
  } catch (const CLI::ParseError& error) {
    throw tools::UsageError(explain(app, error));
  }
  if (words > 0) {
    options.words.assign(argv + words, argv + argc);
  }
  check(options);
  return options;
}

}  // namespace meshctl
