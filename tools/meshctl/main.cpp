#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "ctlcmd.h"
#include "tools/command_line.h"
#include "tools/console.h"
#include "tools/json_line.h"
#include "tools/meshctl/client.h"
#include "tools/meshctl/log_reader.h"
#include "tools/meshctl/opclass.h"
#include "tools/meshctl/options.h"
#include "tools/meshctl/screen.h"
#include "tools/safe_text.h"

namespace meshctl {

namespace {

enum ExitStatus : int { SUCCESS = 0, FAILURE = 1, WRONG_USAGE = 2 };

constexpr std::chrono::milliseconds LOG_POLL_INTERVAL{100};
constexpr std::chrono::milliseconds WATCH_INTERVAL{1000};
constexpr std::chrono::milliseconds RESULT_POLL_INTERVAL{100};

/// A module of a daemon's shell that not every daemon has.
struct Module {
  const char* name;
  const char* absence;  ///< what to say of a daemon without it, after its name
};
constexpr Module WIFI{"WIFI", "has no Wi-Fi"};
constexpr Module CONTROLLER{"CONTROLLER", "is no controller"};

void complain(const std::string& text) { tools::complain("meshctl", text); }

/// Flushes at once, because somebody may be waiting for the output.
void write(const std::string& text) {
  tools::write_output(text);
  tools::flush_output();
}

ExitStatus list() {
  for (const std::string& name : Client().list()) {
    write(tools::for_terminal_line(name) + '\n');
  }
  return SUCCESS;
}

/// The answer of a failed command is not valid output.
ExitStatus show(const Answer& answer, bool is_json = false) {
  if (answer.result == 0 || answer.result == CTLCMD_CLOSED) {
    write(is_json ? tools::json_for_terminal(answer.text) : tools::for_terminal(answer.text));
    return SUCCESS;
  }
  std::fputs(tools::for_terminal(answer.text).c_str(), stderr);
  return FAILURE;
}

/// The first line of the text without the prefix; empty if it begins otherwise.
std::string_view after_prefix(std::string_view text, std::string_view prefix) {
  text = text.substr(0, text.find('\n'));
  return text.starts_with(prefix) ? text.substr(prefix.size()) : std::string_view();
}

std::string choose(const Options& options, Client& client) {
  return options.name.empty() ? client.the_only_one() : options.name;
}

ExitStatus execute(const Options& options) { return show(Client().command(options.name, options.words)); }

ExitStatus shell(const Options& options) {
  Client client;
  const std::string name = choose(options, client);
  client.command_line(name, "");  // throws if nobody answers
  const std::string prompt = isatty(STDIN_FILENO) != 0 ? tools::for_terminal_line(name) + "> " : "";
  for (std::string line; write(prompt), std::getline(std::cin, line);) {
    if (line.find_first_not_of(" \t") == std::string::npos) {
      continue;
    }
    const Answer answer = client.command_line(name, line);
    show(answer);
    if (answer.result == CTLCMD_CLOSED) {
      return SUCCESS;
    }
  }
  return SUCCESS;
}

ExitStatus log(const Options& options) {
  LogReader reader(options.name.empty() ? Client().the_only_one() : options.name);
  for (;;) {
    const bool is_written = reader.is_written();  // read first, so that lines written before the end are still printed
    while (const std::optional<LogLine> line = reader.next()) {
      if (line->lost != 0) {
        complain(std::to_string(line->lost) + " parts of lines were overwritten before they could be read");
      }
      write(time_text(line->time) + ' ' + tools::for_terminal_line(line->text) + '\n');
    }
    if (!options.follow || !is_written) {
      return SUCCESS;
    }
    std::this_thread::sleep_for(LOG_POLL_INTERVAL);
  }
}

ExitStatus events(const Options& options) {
  Client client;
  const std::string name = choose(options, client);
  client.watch_events(name, [&](std::string_view event, std::string_view data) {
    using std::chrono::system_clock;
    const auto now = std::chrono::duration_cast<std::chrono::microseconds>(system_clock::now().time_since_epoch());
    const std::string time = time_text(now.count());
    if (!options.json) {
      write(time + ' ' + tools::for_terminal_line(event) + ' ' + tools::for_terminal_line(data) + '\n');
      return;
    }
    write(tools::json_for_terminal(tools::json_line([&](tools::JsonLine& json) {
      json.member("time", time);
      json.member("name", tools::to_utf8(name));
      json.member("event", tools::to_utf8(event));
      json.member("data", tools::to_utf8(data));
    })));
  });
  return SUCCESS;
}

/// Replaces this program by meshctl-web, which has the page of the map and its server: meshctl itself needs neither.
[[noreturn]] void become_web(const char* action, const std::string& target, const Options& options) {
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe").parent_path() / MESHCTL_WEB;
  execl(program.c_str(), "meshctl-web", action, target.c_str(), options.name.c_str(),
        options.allows_actions ? "--allow-actions" : nullptr, nullptr);
  throw std::runtime_error(errno == ENOENT ? "the map is not installed; it is in the package mesh-web"
                                           : "cannot run " + program.string() + ": " + std::strerror(errno));
}

ExitStatus topology(const Options& options) {
  if (!options.html_file.empty()) {
    become_web("save", options.html_file, options);
  }
  Client client;
  return show(client.command(choose(options, client), {"mesh", "TOPOLOGY", options.format}), options.format == "JSON");
}

/// Asks a module of the daemon's shell. Throws std::runtime_error if the daemon does not have it.
Answer ask_module(Client& client, const std::string& name, const Module& module, std::vector<std::string> words) {
  words.insert(words.begin(), module.name);
  Answer answer = client.command(name, words);
  if (answer.result == CTLCMD_NO_COMMAND) {
    throw std::runtime_error("'" + name + "' " + module.absence);
  }
  return answer;
}

/// Shows the answer until something fails; when standard output is no terminal, one answer after the other.
ExitStatus watch(Client& client, const std::string& name, const Module& module, const std::vector<std::string>& words,
                 bool is_json) {
  std::optional<Screen> screen;
  for (;;) {
    const Answer answer = ask_module(client, name, module, words);
    if (answer.result != 0) {
      screen.reset();
      return show(answer);
    }
    if (!screen && isatty(STDOUT_FILENO) != 0 && !is_json) {
      screen.emplace();
    }
    if (screen) {
      screen->draw(tools::for_terminal(answer.text));
      screen->wait(WATCH_INTERVAL);
    } else {
      show(answer, is_json);
      write(is_json ? "" : "\n");
      std::this_thread::sleep_for(WATCH_INTERVAL);
    }
  }
}

/// Shows what a module knows, once or again and again.
ExitStatus view(const Options& options, const Module& module, const std::string& command) {
  Client client;
  const std::string name = choose(options, client);
  const std::vector<std::string> words{command, options.json ? "JSON" : "TEXT"};
  return options.watch ? watch(client, name, module, words, options.json)
                       : show(ask_module(client, name, module, words), options.json);
}

/// Has a controller carry out an order and waits for what comes of it. The controller ends every order by itself.
ExitStatus order(const Options& options, const std::vector<std::string>& words) {
  Client client;
  const std::string name = choose(options, client);
  const Answer started = ask_module(client, name, CONTROLLER, words);
  const std::string_view number = after_prefix(started.text, "order ");
  if (started.result != 0 || number.empty()) {
    return show(started);
  }
  for (;;) {
    const Answer answer =
        ask_module(client, name, CONTROLLER, {"RESULT", std::string(number), options.json ? "JSON" : "TEXT"});
    if (answer.text != "pending\n") {
      const bool is_object = answer.text.starts_with('{');
      show(is_object ? Answer{0, answer.text} : answer, is_object);
      return answer.result == 0 ? SUCCESS : FAILURE;
    }
    std::this_thread::sleep_for(RESULT_POLL_INTERVAL);
  }
}

ExitStatus steer(const ControllerRequest& request, const Options& options) {
  std::vector<std::string> words{"STEER", request.client, request.bssid};
  if (request.is_open) {
    words.emplace_back("OPEN");
  }
  return order(options, words);
}

ExitStatus block(const ControllerRequest& request, const Options& options) {
  std::vector<std::string> words{"BLOCK", request.client, std::to_string(request.seconds)};
  words.insert(words.end(), request.from.begin(), request.from.end());
  return order(options, words);
}

/// With --apply, the plan comes first.
ExitStatus plan(const ControllerRequest& request, const Options& options) {
  const ExitStatus status = request.is_applied && options.json ? SUCCESS : view(options, CONTROLLER, "PLAN");
  return request.is_applied && status == SUCCESS ? order(options, {"PLAN", "APPLY"}) : status;
}

ExitStatus policy(const ControllerRequest& request, const Options& options) {
  Client client;
  const std::string name = choose(options, client);
  return show(ask_module(
      client, name, CONTROLLER,
      request.is_reloaded ? std::vector<std::string>{"POLICY", "RELOAD"} : std::vector<std::string>{"POLICY"}));
}

ExitStatus ask(const ControllerRequest& request, const Options& options) {
  const auto or_none = [](const std::string& word) { return word.empty() ? "-" : word; };
  return order(options, {"ASK", request.agent, request.what, or_none(request.client), or_none(request.bssid)});
}

ExitStatus classes(const Options& options) {
  Client client;
  const std::string name = choose(options, client);
  return show(ask_module(client, name, WIFI, {"CLASSES", options.radio, options.json ? "JSON" : "TEXT"}), options.json);
}

/// Needs no daemon. A query without an answer is a usage error.
ExitStatus opclass(const Options& options) {
  try {
    write(answer(options.opclass));
    return SUCCESS;
  } catch (const std::logic_error& error) {
    complain(error.what());
    return WRONG_USAGE;
  }
}

ExitStatus run(const Options& options) {
  switch (options.verb) {
    case Verb::LIST:
      return list();
    case Verb::EXEC:
      return execute(options);
    case Verb::SHELL:
      return shell(options);
    case Verb::LOG:
      return log(options);
    case Verb::EVENTS:
      return events(options);
    case Verb::TOPOLOGY:
      return topology(options);
    case Verb::RADIOS:
      return view(options, WIFI, "RADIOS");
    case Verb::CLIENTS:
      return view(options, WIFI, "CLIENTS");
    case Verb::CLASSES:
      return classes(options);
    case Verb::OPCLASS:
      return opclass(options);
    case Verb::WEB:
      become_web("serve", options.listen, options);
    case Verb::MESH:
      return view(options, CONTROLLER, "MESH");
    case Verb::STEER:
      return steer(options.request, options);
    case Verb::BLOCK:
      return block(options.request, options);
    case Verb::CHANNEL:
      return order(options,
                   {"CHANNEL", options.request.radio, std::to_string(options.request.channel), options.request.width});
    case Verb::PLAN:
      return plan(options.request, options);
    case Verb::POLICY:
      return policy(options.request, options);
    case Verb::ASK:
      return ask(options.request, options);
  }
  return WRONG_USAGE;
}

}  // namespace

}  // namespace meshctl

int main(int argc, char** argv) {
  try {
    const meshctl::Options options = meshctl::parse_options(argc, argv);
    if (!options.notice.empty()) {
      meshctl::write(options.notice);
      return meshctl::SUCCESS;
    }
    return meshctl::run(options);
  } catch (const tools::UsageError& error) {
    meshctl::complain(std::string(error.what()) + " (see 'meshctl --help')");
    return meshctl::WRONG_USAGE;
  } catch (const meshctl::AmbiguousName& error) {
    meshctl::complain(error.what());
    return meshctl::WRONG_USAGE;
  } catch (const std::exception& error) {
    meshctl::complain(error.what());
    return meshctl::FAILURE;
  }
}
