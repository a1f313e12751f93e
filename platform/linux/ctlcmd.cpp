#include "ctlcmd.h"

#include <stdarg.h>
#include <stdio.h>
#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "allocator_report.h"
#include "endpoint_operations.h"
#include "export.h"

namespace {

using Commands = std::vector<ctlcmd_command>;

struct Module {
  const char* name;
  const ctlcmd_command* commands;
  std::size_t count;
  void* context;
};

class Service;

// Kept until the process ends: modules may be unregistered while static objects are destroyed.
std::vector<Module>& modules() {
  static auto& all = *new std::vector<Module>;
  return all;
}

std::vector<std::unique_ptr<Service>>& services() {
  static auto& all = *new std::vector<std::unique_ptr<Service>>;
  return all;
}

std::vector<Module>::iterator find_module(std::string_view name) {
  return std::find_if(modules().begin(), modules().end(), [&](const Module& module) { return module.name == name; });
}

const ctlcmd_command* find_command(const ctlcmd_command* commands, std::size_t count, const char* name) {
  const auto* const end = commands + count;
  const auto* const found =
      std::find_if(commands, end, [&](const ctlcmd_command& command) { return strcasecmp(command.name, name) == 0; });
  return found != end ? found : nullptr;
}

// Splits a command line into words. False when a quote is not closed.
bool split(std::string_view line, std::vector<std::string>& words) {
  bool in_word = false;
  bool quoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (!quoted && (c == ' ' || c == '\t' || c == '\r' || c == '\n')) {
      in_word = false;
      continue;
    }
    if (!in_word) {
      words.emplace_back();
      in_word = true;
    }
    if (c == '"') {
      quoted = !quoted;
    } else if (c == '\\' && i + 1 < line.size() && (line[i + 1] == '"' || line[i + 1] == '\\')) {
      words.back() += line[++i];
    } else {
      words.back() += c;
    }
  }
  return !quoted;
}

}  // namespace

struct ctlcmd_session {
  ctlcmd_output output;
  void* output_context;
  const Service* service;  ///< the one asked, or null

  void print(std::string_view text) const { output(output_context, text.data(), text.size()); }
  /// Leaves out a text that `output` throws at.
  void try_to_print(std::string_view text) const noexcept {
    try {
      print(text);
    } catch (...) {
    }
  }
};

namespace {

int run_words(ctlcmd_session& session, const ctlcmd_command* command, const std::vector<std::string>& words,
              void* context) {
  std::vector<const char*> argv;
  argv.reserve(words.size() + 1);
  for (const std::string& word : words) {
    argv.push_back(word.c_str());
  }
  argv.push_back(nullptr);
  return command->handler(&session, static_cast<int>(words.size()), argv.data(), context);
}

/// The shell on one endpoint.
class Service final : public qel::platform::CommandServer {
 public:
  Service(qelipc* ipc, const char* endpoint, const ctlcmd_table& table)
      : ipc_(ipc), endpoint_(endpoint), commands_(table.commands, table.commands + table.count) {
    ipc_->serve_commands(this);
  }

  qelipc* ipc() const { return ipc_; }
  const std::string& endpoint() const { return endpoint_; }
  const Commands& commands() const { return commands_; }

  int run(const char* module, const char* line, ctlcmd_output output, void* output_context) override;
  void endpoint_gone() override;

 private:
  qelipc* ipc_;
  std::string endpoint_;
  Commands commands_;
};

const ctlcmd_command* find_in_table(const Service& service, const char* name) {
  return find_command(service.commands().data(), service.commands().size(), name);
}

// Runs a line for one service, or with `service` null for all of them.
int run_line(const Service* service, const char* module, const char* line, ctlcmd_output output,
             void* output_context) noexcept {
  ctlcmd_session session{output, output_context, service};
  try {
    std::vector<std::string> words;
    if (!split(line, words)) {
      session.print("a quote is not closed\n");
      return CTLCMD_BAD_LINE;
    }
    const char* const name = words.empty() ? "" : words.front().c_str();
    if (module != nullptr && *module != '\0') {
      const auto found = find_module(module);
      if (found == modules().end()) {
        session.print("no module \"" + std::string(module) + "\"\n");
        return CTLCMD_NO_MODULE;
      }
      if (const auto* command = find_command(found->commands, found->count, name)) {
        return run_words(session, command, words, found->context);
      }
    } else if (service != nullptr) {
      if (const auto* command = find_in_table(*service, name)) {
        // A copy, since the command may end the service.
        const ctlcmd_command copy = *command;
        return run_words(session, &copy, words, nullptr);
      }
    } else {
      for (const auto& any : services()) {
        if (find_in_table(*any, name) != nullptr) {
          return run_line(any.get(), "", line, output, output_context);
        }
      }
    }
    session.print("no command \"" + std::string(name) + "\", try HELP\n");
    return CTLCMD_NO_COMMAND;
  } catch (const std::bad_alloc&) {
    session.try_to_print("out of memory\n");
    return CTLCMD_FAILED;
  } catch (...) {
    session.try_to_print("the command failed\n");
    return CTLCMD_FAILED;
  }
}

int Service::run(const char* module, const char* line, ctlcmd_output output, void* output_context) {
  return run_line(this, module, line, output, output_context);
}

void Service::endpoint_gone() {
  std::erase_if(services(), [this](const auto& service) { return service.get() == this; });
}

void list(const ctlcmd_session& session, const ctlcmd_command* commands, std::size_t count) {
  for (const auto* command = commands; command != commands + count; ++command) {
    std::string line = "  " + std::string(command->name);
    line.resize(std::max<std::size_t>(line.size() + 2, 20), ' ');
    session.print(line.append(command->help != nullptr ? command->help : "").append("\n"));
  }
}

}  // namespace

extern "C" {

QEL_EXPORT void ctlcmd_printf(ctlcmd_session* session, const char* format, ...) {
  va_list values;
  va_start(values, format);
  char* text = nullptr;
  const int length = vasprintf(&text, format, values);
  va_end(values);
  if (length >= 0) {
    const std::unique_ptr<char, decltype(&free)> owner(text, free);  // the session's output may throw
    session->print({text, static_cast<std::size_t>(length)});
  }
}

QEL_EXPORT int ctlcmd_listen_start(struct qelipc* ipc, const char* endpoint, const ctlcmd_table* table) {
  if (ipc == nullptr || endpoint == nullptr || table == nullptr) {
    return -EINVAL;
  }
  if (std::any_of(services().begin(), services().end(), [&](const auto& service) { return service->ipc() == ipc; })) {
    return -EBUSY;
  }
  try {
    services().reserve(services().size() + 1);
    services().push_back(std::make_unique<Service>(ipc, endpoint, *table));
    return 0;
  } catch (const std::bad_alloc&) {
    return -ENOMEM;
  }
}

QEL_EXPORT void ctlcmd_listen_stop(struct qelipc* ipc) {
  if (std::erase_if(services(), [&](const auto& service) { return service->ipc() == ipc; }) > 0) {
    ipc->serve_commands(nullptr);
  }
}

QEL_EXPORT int ctlcmd_register_library(const char* name, const ctlcmd_command* commands, size_t count) {
  if (name == nullptr || *name == '\0' || (commands == nullptr && count > 0)) {
    return -EINVAL;
  }
  if (find_module(name) != modules().end()) {
    return -EEXIST;
  }
  try {
    modules().push_back({name, commands, count, nullptr});
    return 0;
  } catch (const std::bad_alloc&) {
    return -ENOMEM;
  }
}

QEL_EXPORT int ctlcmd_module_set_ctx(const char* name, void* context) {
  const auto module = name != nullptr ? find_module(name) : modules().end();
  if (module == modules().end()) {
    return -ENOENT;
  }
  module->context = context;
  return 0;
}

QEL_EXPORT int ctlcmd_unregister_library(const char* name) {
  const auto module = name != nullptr ? find_module(name) : modules().end();
  if (module == modules().end()) {
    return -ENOENT;
  }
  modules().erase(module);
  return 0;
}

QEL_EXPORT int ctlcmd_docommand_to(const char* module, const char* command, ctlcmd_output output,
                                   void* output_context) {
  return command != nullptr && output != nullptr ? run_line(nullptr, module, command, output, output_context)
                                                 : CTLCMD_NO_COMMAND;
}

QEL_EXPORT int ctlcmd_docommand(const char* module, const char* command) {
  std::string answer;
  const auto collect = [](void* context, const char* text, size_t length) {
    static_cast<std::string*>(context)->append(text, length);
  };
  const int result = ctlcmd_docommand_to(module, command, collect, &answer);
  if (!answer.empty()) {
    infomsg("%s", answer.c_str());
  }
  return result;
}

QEL_EXPORT int ctlcmd_help(ctlcmd_session* session, int argc, const char* const* argv, void*) {
  if (argc > 1) {
    const auto module = find_module(argv[1]);
    if (module == modules().end()) {
      ctlcmd_printf(session, "no module \"%s\"\n", argv[1]);
      return CTLCMD_NO_MODULE;
    }
    list(*session, module->commands, module->count);
    return 0;
  }
  if (session->service != nullptr) {
    ctlcmd_printf(session, "commands of %s:\n", session->service->endpoint().c_str());
    list(*session, session->service->commands().data(), session->service->commands().size());
  }
  for (const Module& module : modules()) {
    ctlcmd_printf(session, "module %s:\n", module.name);
    list(*session, module.commands, module.count);
  }
  return 0;
}

QEL_EXPORT int ctlcmd_slabdump(ctlcmd_session* session, int, const char* const*, void*) {
  session->print(qel::platform::allocator_account());
  return 0;
}

QEL_EXPORT int ctlcmd_slabshow(ctlcmd_session* session, int, const char* const*, void*) {
  session->print(qel::platform::allocator_totals());
  return 0;
}

QEL_EXPORT int ctlcmd_quit(ctlcmd_session*, int, const char* const*, void*) { return CTLCMD_CLOSED; }

}  // extern "C"
