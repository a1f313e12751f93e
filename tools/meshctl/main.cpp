#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>

#include "ctlcmd.h"
#include "tools/meshctl/client.h"
#include "tools/meshctl/log_reader.h"
#include "tools/meshctl/opclass.h"
#include "tools/meshctl/options.h"
#include "tools/meshctl/printable.h"

namespace meshctl {

namespace {

enum ExitStatus : int { SUCCESS = 0, FAILURE = 1, WRONG_USAGE = 2 };

constexpr std::chrono::milliseconds LOG_POLL_INTERVAL{100};

/// In one line, whatever arguments it quotes.
void complain(const std::string& text) { std::fprintf(stderr, "meshctl: %s\n", printable(text).c_str()); }

/// At once: somebody may be waiting for it. Throws when nobody takes it.
void write(const std::string& text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
    throw std::runtime_error(std::string("cannot write the output: ") + std::strerror(errno));
  }
}

ExitStatus list() {
  for (const std::string& name : Client().list()) {
    write(printable(name) + '\n');
  }
  return SUCCESS;
}

ExitStatus show(const Answer& answer) {
  write(printable(answer.text, true));
  return answer.result == 0 || answer.result == CTLCMD_CLOSED ? SUCCESS : FAILURE;
}

ExitStatus execute(const Options& options) { return show(Client().command(options.name, options.words)); }

ExitStatus shell(const Options& options) {
  Client client;
  const std::string prompt = isatty(STDIN_FILENO) != 0 ? options.name + "> " : "";
  for (std::string line; write(prompt), std::getline(std::cin, line);) {
    if (line.find_first_not_of(" \t") == std::string::npos) {
      continue;
    }
    const Answer answer = client.command_line(options.name, line);
    show(answer);
    if (answer.result == CTLCMD_CLOSED) {
      return SUCCESS;
    }
  }
  return SUCCESS;
}

ExitStatus log(const Options& options) {
  LogReader reader(options.name);
  for (;;) {
    const bool is_written = reader.is_written();  // asked first: what was written before the end is still printed
    while (const std::optional<LogLine> line = reader.next()) {
      if (line->lost != 0) {
        complain(std::to_string(line->lost) + " parts of lines were overwritten before they could be read");
      }
      write(time_text(line->time) + ' ' + printable(line->text) + '\n');
    }
    if (!options.follow || !is_written) {
      return SUCCESS;
    }
    std::this_thread::sleep_for(LOG_POLL_INTERVAL);
  }
}

ExitStatus events(const Options& options) {
  Client().watch_events(options.name, [](std::string_view event, std::string_view data) {
    write(printable(event) + ' ' + printable(data) + '\n');
  });
  return SUCCESS;
}

ExitStatus topology(const Options& options) {
  return show(Client().command(options.name, {"mesh", "TOPOLOGY", options.format}));
}

/// Asks no daemon: what has no answer was wrong to ask.
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
    case Verb::OPCLASS:
      return opclass(options);
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
  } catch (const meshctl::UsageError& error) {
    meshctl::complain(std::string(error.what()) + " (see 'meshctl --help')");
    return meshctl::WRONG_USAGE;
  } catch (const std::exception& error) {
    meshctl::complain(error.what());
    return meshctl::FAILURE;
  }
}
