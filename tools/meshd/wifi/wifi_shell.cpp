#include "tools/meshd/wifi/wifi_shell.h"

#include <fstream>
#include <ostream>
#include <stdexcept>

#include "qel/core/text.h"
#include "tools/meshd/shell_answer.h"
#include "tools/meshd/shell_module.h"
#include "tools/meshd/view/names.h"
#include "tools/meshd/wifi/clients_view.h"
#include "tools/meshd/wifi/model_json.h"
#include "tools/meshd/wifi/radios_view.h"

namespace meshd::wifi {

namespace {

template <class View>
void print(std::ostream& os, const View& view, const std::string& format) {
  const std::string name = qel::to_upper(format);
  if (name == "JSON") {
    print_json(os, view);
  } else if (name.empty() || name == "TEXT") {
    print_text(os, view);
  } else {
    throw std::invalid_argument("the formats are TEXT and JSON");
  }
}

}  // namespace

template <WifiShell::Answer ANSWER, int MOST_ARGUMENTS>
int WifiShell::run(ctlcmd_session* session, int argc, const char* const* argv, void* context) {
  return answer(session, [&](std::ostream& os) {
    if (argc > MOST_ARGUMENTS + 1) {
      throw std::invalid_argument("too many arguments");
    }
    (static_cast<WifiShell*>(context)->*ANSWER)(os, argc > 1 ? argv[1] : "", argc > 2 ? argv[2] : "");
  });
}

WifiShell::WifiShell(const Model& model, const Associations& associations, qel::daemon::Mainloop& loop)
    : model_(model), associations_(associations), loop_(loop) {
  static constexpr struct {
    const char* name;
    qel::daemon::CtlcmdModule::Handler handler;
    const char* help;
  } COMMANDS[] = {
      {"RADIOS", run<&WifiShell::radios, 1>, "show the radios and their interfaces: TEXT (default) or JSON"},
      {"CLIENTS", run<&WifiShell::clients, 1>, "show the stations that they talk to: TEXT (default) or JSON"},
      {"CLASSES", run<&WifiShell::classes, 2>,
       "show the operating classes that a radio supports: TEXT (default) or JSON"},
      {"MODEL", run<&WifiShell::model, 0>, "show everything that the kernel reports, as JSON"},
  };
  start_module(loop_, MODULE, this, COMMANDS);
}

WifiShell::~WifiShell() { loop_.remove_ctlcmd_module(MODULE); }

void WifiShell::radios(std::ostream& os, const std::string& format, const std::string&) {
  print(os, view_radios(loop_.get_name(), model_, qel::LastChanged<float>::now()), format);
}

void WifiShell::clients(std::ostream& os, const std::string& format, const std::string&) {
  std::ifstream names("/etc/ethers");
  print(os, view_clients(loop_.get_name(), model_, associations_, read_names(names)), format);
}

void WifiShell::classes(std::ostream& os, const std::string& radio, const std::string& format) {
  print(os, view_classes(radio, model_, qel::LastChanged<float>::now()), format);
}

void WifiShell::model(std::ostream& os, const std::string&, const std::string&) {
  print_json(os, model_, qel::LastChanged<float>::now());
}

}  // namespace meshd::wifi
