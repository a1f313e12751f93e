#include "ctlcmd.h"

#include <stdarg.h>
#include <stdio.h>
#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/allocator_report.h"
#include "platform/linux/endpoint_operations.h"
#include "platform/linux/export.h"

namespace {

using Commands = std::vector<ctlcmd_command>;
/// The last word is followed by a null pointer.
using Words = std::span<const char* const>;

struct Module {
  const char* name;
  const ctlcmd_command* commands;
  std::size_t count;
  void* context;
};

class Service;

// Kept until the process ends, because modules may be unregistered while static objects are destroyed.
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

// Splits a command line into words. Returns false if a quote is not closed.
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
  const Service* service;  ///< the service that received the command, or null

  void print(std::string_view text) const { output(output_context, text.data(), text.size()); }
  /// Drops the text if `output` throws.
  void try_to_print(std::string_view text) const noexcept {
    try {
      print(text);
    } catch (...) {
    }
  }
};

namespace {

/// The shell of one endpoint.
class Service final : public qel::platform::CommandServer {
 public:
  Service(qelipc* ipc, const char* endpoint, const ctlcmd_table& table)
      : ipc_(ipc), endpoint_(endpoint), commands_(table.commands, table.commands + table.count) {
    ipc_->serve_commands(this);
  }

  qelipc* ipc() const { return ipc_; }
  const std::string& endpoint() const { return endpoint_; }
  const Commands& commands() const { return commands_; }

  int run(const char* const* words, std::size_t count, ctlcmd_output output, void* output_context) override;
  int run_line(const char* line, ctlcmd_output output, void* output_context) override;
  void endpoint_gone() override;

 private:
  qelipc* ipc_;
  std::string endpoint_;
  Commands commands_;
};

void list(const ctlcmd_session& session, const ctlcmd_command* commands, std::size_t count) {
  for (const auto* command = commands; command != commands + count; ++command) {
    std::string line = "  " + std::string(command->name);
    line.resize(std::max<std::size_t>(line.size() + 2, 20), ' ');
    session.print(line.append(command->help != nullptr ? command->help : "").append("\n"));
  }
}

const ctlcmd_command* find_in_table(const Service& service, const char* name) {
  return find_command(service.commands().data(), service.commands().size(), name);
}

/// Searches the table of the service that received the command. If there is none, searches all services;
/// the first that has the name becomes the service of the session.
const ctlcmd_command* find_in_tables(ctlcmd_session& session, const char* name) {
  if (session.service != nullptr) {
    return find_in_table(*session.service, name);
  }
  for (const auto& service : services()) {
    if (const auto* command = find_in_table(*service, name)) {
      session.service = service.get();
      return command;
    }
  }
  return nullptr;
}

/// The command may remove itself and its table.
int call(ctlcmd_session& session, const ctlcmd_command& command, Words words, void* context) {
  return command.handler(&session, static_cast<int>(words.size()), words.data(), context);
}

/// Runs a command of the module. Without a module, runs a command of the tables or, after its name, of any module.
int run_words(ctlcmd_session& session, std::string_view module_name, Words words) {
  const auto first = [&words]() -> const char* { return words.empty() ? "" : words.front(); };
  if (module_name.empty()) {
    if (const auto* command = find_in_tables(session, first())) {
      return call(session, *command, words, nullptr);
    }
    if (find_module(first()) == modules().end()) {
      session.print(std::string("no command \"") + first() + "\", try HELP\n");
      return CTLCMD_NO_COMMAND;
    }
    module_name = first();
    words = words.subspan(1);
  }
  const auto module = find_module(module_name);
  const std::string quoted = "module \"" + std::string(module_name) + "\"";
  if (module == modules().end()) {
    session.print("no " + quoted + "\n");
    return CTLCMD_NO_MODULE;
  }
  if (const auto* command = find_command(module->commands, module->count, first())) {
    return call(session, *command, words, module->context);
  }
  if (words.empty()) {
    session.print(quoted + " needs one of its commands:\n");
    list(session, module->commands, module->count);
  } else {
    session.print(quoted + " has no command \"" + first() + "\", try HELP " + module->name + "\n");
  }
  return CTLCMD_NO_COMMAND;
}

/// Returns the result of `run`, even if it fails.
template <class Run>
int guarded(const ctlcmd_session& session, Run run) noexcept {
  try {
    return run();
  } catch (const std::bad_alloc&) {
    session.try_to_print("out of memory\n");
  } catch (...) {
    session.try_to_print("the command failed\n");
  }
  return CTLCMD_FAILED;
}

int run_line(ctlcmd_session session, const char* module, std::string_view line) {
  return guarded(session, [&] {
    std::vector<std::string> words;
    if (!split(line, words)) {
      session.print("a quote is not closed\n");
      return CTLCMD_BAD_LINE;
    }
    std::vector<const char*> argv;
    argv.reserve(words.size() + 1);
    for (const std::string& word : words) {
      argv.push_back(word.c_str());
    }
    argv.push_back(nullptr);
    return run_words(session, module != nullptr ? module : "", {argv.data(), words.size()});
  });
}

int Service::run(const char* const* words, std::size_t count, ctlcmd_output output, void* output_context) {
  ctlcmd_session session{output, output_context, this};
  return guarded(session, [&] { return run_words(session, {}, {words, count}); });
}

int Service::run_line(const char* line, ctlcmd_output output, void* output_context) {
  return ::run_line({output, output_context, this}, nullptr, line);
}

void Service::endpoint_gone() {
  std::erase_if(services(), [this](const auto& service) { return service.get() == this; });
}

}  // namespace

extern "C" {

QEL_EXPORT void ctlcmd_printf(ctlcmd_session* session, const char* format, ...) {
  va_list values;
  va_start(values, format);
  char* text = nullptr;
  const int length = vasprintf(&text, format, values);
  va_end(values);
  if (length < 0) {
    throw std::bad_alloc();  // answers have no gaps, so the command fails
  }
  const std::unique_ptr<char, decltype(&free)> owner(text, free);  // the session's output may throw
  session->print({text, static_cast<std::size_t>(length)});
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
  return command != nullptr && output != nullptr ? run_line({output, output_context, nullptr}, module, command)
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
