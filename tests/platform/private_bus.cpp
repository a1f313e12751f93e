#include "tests/platform/private_bus.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

const std::string PrivateBus::ALLOW_ALL =
    "<policy context=\"default\"><allow own=\"*\"/><allow send_destination=\"*\"/>"
    "<allow receive_sender=\"*\"/></policy>";

PrivateBus::PrivateBus(const std::string& policies) {
  char folder[] = "/tmp/qelbusXXXXXX";
  folder_ = mkdtemp(folder);
  std::filesystem::permissions(folder_, std::filesystem::perms{0755});
  const std::string address = "unix:path=" + folder_ + "/bus";
  std::ofstream(folder_ + "/bus.conf") << "<busconfig><type>session</type><listen>" << address << "</listen>"
                                       << "<auth>EXTERNAL</auth>" << policies << "</busconfig>";
  setenv("QELIPC_BUS_ADDRESS", address.c_str(), 1);
  start();
}

PrivateBus::~PrivateBus() {
  stop();
  std::filesystem::remove_all(folder_);
  unsetenv("QELIPC_BUS_ADDRESS");
}

bool PrivateBus::start() {
  int address[2];
  if (pipe(address) != 0) {
    return false;
  }
  std::filesystem::remove(folder_ + "/bus");
  daemon_ = fork();
  if (daemon_ == 0) {
    close(address[0]);
    dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);  // it comments on each message that it rejects
    const std::string config = "--config-file=" + folder_ + "/bus.conf";
    const std::string print = "--print-address=" + std::to_string(address[1]);
    execlp("dbus-daemon", "dbus-daemon", "--nofork", "--nosyslog", config.c_str(), print.c_str(), nullptr);
    _exit(127);
  }
  close(address[1]);
  char first;
  const bool listens = read(address[0], &first, 1) == 1;  // it prints its address once it listens
  close(address[0]);
  return listens;
}

void PrivateBus::stop() {
  if (daemon_ > 0) {
    kill(daemon_, SIGKILL);
    waitpid(daemon_, nullptr, 0);
    daemon_ = -1;
  }
}

int PrivateBus::be_silent() {
  stop();
  std::filesystem::remove(folder_ + "/bus");
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
  (folder_ + "/bus").copy(address.sun_path, sizeof(address.sun_path) - 1);
  if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 || listen(listener, 16) != 0) {
    close(listener);
    return -1;
  }
  return listener;
}
