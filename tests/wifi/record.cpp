#include <linux/nl80211.h>
#include <net/if.h>
#include <poll.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <string_view>

#include "tools/meshd/wifi/nl80211_socket.h"

/// Writes what the kernel answers, or tells by itself, into a file: the datagrams as they came. For the recordings that
/// the tests of the conversions read; record.sh beside it makes them.
///
///   wifi_record FILE wiphy|interface|station|survey|regulatory [INTERFACE]
///   wifi_record FILE events        until SIGTERM; creates the file when it listens

namespace {

using meshd::wifi::Nl80211Socket;

volatile std::sig_atomic_t ended = 0;

/// Waits until there is something; false after a signal.
bool wait_for(int fd) {
  pollfd watched{fd, POLLIN, 0};
  while (ended == 0) {
    if (poll(&watched, 1, 200) > 0) {
      return true;
    }
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  const std::map<std::string_view, nl80211_commands> QUESTIONS{{"wiphy", NL80211_CMD_GET_WIPHY},
                                                               {"interface", NL80211_CMD_GET_INTERFACE},
                                                               {"station", NL80211_CMD_GET_STATION},
                                                               {"survey", NL80211_CMD_GET_SURVEY},
                                                               {"regulatory", NL80211_CMD_GET_REG}};
  if (argc < 3 || argc > 4) {
    std::cerr << "usage: wifi_record FILE WHAT [INTERFACE]\n";
    return 2;
  }
  try {
    const auto question = QUESTIONS.find(argv[2]);
    const bool is_events = question == QUESTIONS.end();
    Nl80211Socket socket(is_events);
    std::signal(SIGTERM, [](int) { ended = 1; });
    std::ofstream file(argv[1], std::ios::binary);
    socket.set_tap([&](meshd::wifi::Octets datagram) {
      file.write(reinterpret_cast<const char*>(datagram.data()), static_cast<std::streamsize>(datagram.size()));
    });
    bool is_done = false;
    if (!is_events) {
      socket.ask_all(question->second, argc == 4 ? if_nametoindex(argv[3]) : 0);
    }
    while (!is_done && wait_for(socket.get_fd())) {
      socket.receive([&](const Nl80211Socket::Received& received) {
        is_done = received.kind != Nl80211Socket::Kind::MESSAGE;
        if (received.kind == Nl80211Socket::Kind::REFUSED) {
          std::cerr << "wifi_record: refused with " << received.error << '\n';
          std::exit(1);
        }
      });
    }
    return file.flush() ? 0 : 1;
  } catch (const std::exception& error) {
    std::cerr << "wifi_record: " << error.what() << '\n';
    return 1;
  }
}
