// air_probe: has the radios of its network namespace do what it reads, a line for each act, and prints what came of it.
//
//   show
//   switch RADIO PRIMARY WIDTH CENTER [SECOND_CENTER]   in MHz; 0 as WIDTH for 80+80
//   power RADIO DBM
//   move BSSID CLIENT TARGET CLASS CHANNEL              a request to the client
//   deny|allow|disconnect BSSID CLIENT
//   beacons BSSID CLIENT REQUEST                        in hexadecimal digits
//   backhaul STATION BSSID CLASS CHANNEL

#include <unistd.h>

#include <chrono>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>

#include "qel/channel/frequency.h"
#include "qel/daemon/mainloop.h"
#include "qel/daemon/watches.h"
#include "tools/meshd/wifi/control_text.h"
#include "tools/meshd/wifi/linux_air.h"

namespace {

using namespace meshd::wifi;
using qel::MACAddress;

std::string digits(const std::vector<std::uint8_t>& octets) {
  std::ostringstream text;
  for (const unsigned int octet : octets) {
    text << std::hex << (octet >> 4) << (octet & 0xF);
  }
  return text.str();
}

class Probe final : public qel::daemon::ISimpleFDWatch {
 public:
  explicit Probe(qel::daemon::Mainloop& loop)
      : ISimpleFDWatch(STDIN_FILENO, "input"), loop_(loop), radios_(loop), sockets_(loop, radios_) {
    air_.client.connect([](const MACAddress& bssid, const MACAddress& client, bool has_joined) {
      std::cout << (has_joined ? "joined " : "left ") << bssid << ' ' << client << std::endl;
    });
  }

  void on_readable() override {
    char buffer[4096];
    const ssize_t size = read(STDIN_FILENO, buffer, sizeof(buffer));
    if (size <= 0) {
      loop_.finish();
      return;
    }
    input_.append(buffer, static_cast<std::size_t>(size));
    for (std::size_t end = input_.find('\n'); end != std::string::npos; end = input_.find('\n')) {
      take(input_.substr(0, end));
      input_.erase(0, end + 1);
    }
  }
  void on_writable() override {}

 private:
  void take(const std::string& line) {
    std::istringstream stream(line + " 0 0 0");
    const std::vector<std::string> words{std::istream_iterator<std::string>(stream), {}};
    const auto mac = [&](std::size_t i) { return MACAddress(words.at(i)); };
    const auto octet = [&](std::size_t i) { return static_cast<std::uint8_t>(std::stoi(words.at(i))); };
    const auto kilohertz = [&](std::size_t i) { return qel::kHz(1000 * std::stol(words.at(i))); };
    const auto say = [line, begin = std::chrono::steady_clock::now()](const std::string& outcome) {
      const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - begin;
      std::cout << "done " << line << ": " << outcome << " in " << time.count() << " ms" << std::endl;
    };
    const auto on_done = [say](const std::string& trouble) { say(trouble.empty() ? "OK" : trouble); };
    const std::string& what = words[0];
    if (what == "show") {
      show();
    } else if (what == "power") {
      air_.limit_power(mac(1), std::stoi(words[2]), on_done);
    } else if (what == "switch") {
      const qel::MHz width(std::stol(words[3]));
      qel::ChannelInfo channel(qel::LastChanged<qel::kHz>(kilohertz(2), 1), {});
      channel.set_segment({{kilohertz(4), width == qel::MHz(0) ? qel::ChannelWidth::WIDTH_80_80_MHZ
                                                               : qel::frequency_to_channel_width(width)},
                           1},
                          kilohertz(5));
      air_.switch_channel(mac(1), channel, on_done);
    } else if (what == "move") {
      air_.ask_to_move({mac(1), mac(2), {{mac(3), octet(4), octet(5)}}}, [say](const auto& answer) {
        const auto target = answer ? answer->target.value_or(MACAddress()) : MACAddress();
        say(answer ? "status " + std::to_string(answer->status) + ' ' + target.to_string() : "nothing");
      });
    } else if (what == "deny" || what == "allow") {
      air_.set_denied(mac(1), mac(2), what == "deny", on_done);
    } else if (what == "disconnect") {
      air_.disconnect(mac(1), mac(2), on_done);
    } else if (what == "beacons") {
      air_.ask_for_beacons(mac(1), mac(2), control_text::octets_of(words[3]),
                           [say](const auto& reports, const std::string& trouble) {
                             for (const auto& report : reports) {
                               std::cout << "report " << digits(report) << std::endl;
                             }
                             say(trouble.empty() ? "reports" : trouble);
                           });
    } else {
      air_.move_backhaul(mac(1), mac(2), octet(3), octet(4), on_done);
    }
  }

  void show() {
    for (const AirRadio& radio : air_.radios()) {
      for (const AirBss& bss : radio.bss) {
        for (const AirClient& client : bss.clients) {
          std::cout << "client " << client.station.mac << " can_move=" << client.can_move.value_or(false)
                    << " request=" << digits(client.association_request) << std::endl;
        }
      }
      if (radio.backhaul) {
        std::cout << "backhaul " << radio.backhaul->station << ' ' << radio.backhaul->bssid.value_or(MACAddress())
                  << std::endl;
      }
    }
    std::cout << "shown" << std::endl;
  }

  qel::daemon::Mainloop& loop_;
  Radios radios_;
  ControlSockets sockets_;
  LinuxAir air_{radios_, sockets_};
  std::string input_;
};

}  // namespace

int main() {
  qel::daemon::Mainloop loop("air_probe_" + std::to_string(getpid()), false);
  loop.add_watch(std::make_shared<Probe>(loop));
  loop.run_until_finished();
  loop.clear();
}
