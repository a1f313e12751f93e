// air_probe: has the radios of its network namespace do what it reads, a line for each act, and prints what came of it.
//
//   radios
//   switch RADIO PRIMARY WIDTH CENTER [SECOND_CENTER]       in MHz; WIDTH as in iw, such as 80+80
//   power RADIO DBM
//   move BSSID CLIENT [TARGET CLASS CHANNEL]                a request to the client
//   leave BSSID CLIENT TARGET CLASS CHANNEL TIMER           the same, with disconnection
//   deny|allow|disconnect BSSID CLIENT
//   beacons BSSID CLIENT REQUEST                            in hexadecimal digits
//   backhaul STATION BSSID CLASS CHANNEL

#include <unistd.h>

#include <chrono>
#include <iostream>
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

std::string text_of(const qel::ChannelInfo& channel) {
  std::ostringstream text;
  const auto& primary = channel.get_primary_frequency();
  const auto& segment = channel.get_primary_segment();
  const auto& power = channel.get_max_power();
  text << (primary.is_set() ? primary.get().value() / 1000 : 0);
  if (segment.is_set()) {
    text << ' ' << segment.get().second << ' ' << segment.get().first.value() / 1000 << ' '
         << channel.get_secondary_center_frequency().value() / 1000;
  }
  text << " at " << (power.is_set() ? power.get() : 0) << " dBm";
  return text.str();
}

class Probe final : public qel::daemon::ISimpleFDWatch {
 public:
  explicit Probe(qel::daemon::Mainloop& loop)
      : ISimpleFDWatch(STDIN_FILENO, "input"), loop_(loop), radios_(loop), sockets_(loop, radios_) {
    air_->client.connect([](const MACAddress& bssid, const MACAddress& client, bool has_joined) {
      std::cout << (has_joined ? "joined " : "left ") << bssid << ' ' << client << std::endl;
    });
    air_->changed.connect([] { std::cout << "changed" << std::endl; });
  }

  void on_readable() override {
    char buffer[4096];
    const ssize_t size = read(STDIN_FILENO, buffer, sizeof(buffer));
    if (size <= 0) {
      air_.reset();  // acts that are under way end with it
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
  static void say(const std::string& line, std::chrono::steady_clock::time_point begin, const std::string& outcome) {
    const auto time = std::chrono::steady_clock::now() - begin;
    std::cout << "done " << line << ": " << outcome << " in "
              << std::chrono::duration_cast<std::chrono::milliseconds>(time).count() << " ms" << std::endl;
  }

  void take(const std::string& line) {
    const auto begin = std::chrono::steady_clock::now();
    const auto on_done = [line, begin](const std::string& trouble) {
      say(line, begin, trouble.empty() ? "OK" : trouble);
    };
    std::istringstream words(line);
    std::string what;
    words >> what;
    if (what == "radios") {
      show();
      return;
    }
    MACAddress first;
    words >> first;
    if (what == "power") {
      int dbm = 0;
      words >> dbm;
      air_->limit_power(first, dbm, on_done);
      return;
    }
    if (what == "switch") {
      long primary = 0;
      std::string width;
      long center = 0;
      long second = 0;
      words >> primary >> width >> center >> second;
      const auto kilohertz = [](long megahertz) { return qel::kHz(1000 * megahertz); };
      qel::ChannelInfo channel(qel::LastChanged<qel::kHz>(kilohertz(primary), 1), {});
      channel.set_segment(
          {{kilohertz(center), width == "80+80" ? qel::ChannelWidth::WIDTH_80_80_MHZ
                                                : qel::frequency_to_channel_width(qel::MHz(std::stol(width)))},
           1},
          kilohertz(second));
      air_->switch_channel(first, channel, on_done);
      return;
    }
    MACAddress second;
    words >> second;
    unsigned int opclass = 0;
    unsigned int channel = 0;
    if (what == "move" || what == "leave") {
      MoveRequest request{first, second, {}, what == "leave", what == "leave", 0};
      MACAddress target;
      if (words >> target >> opclass >> channel) {
        request.targets.push_back({target, static_cast<std::uint8_t>(opclass), static_cast<std::uint8_t>(channel)});
        words >> request.timer;
      }
      air_->ask_to_move(request, [line, begin](const std::optional<MoveAnswer>& answer) {
        say(line, begin,
            !answer ? "nothing"
                    : "status " + std::to_string(answer->status) +
                          (answer->target ? ' ' + answer->target->to_string() : ""));
      });
    } else if (what == "deny" || what == "allow") {
      air_->set_denied(first, second, what == "deny", on_done);
    } else if (what == "disconnect") {
      air_->disconnect(first, second, on_done);
    } else if (what == "beacons") {
      std::string request;
      words >> request;
      air_->ask_for_beacons(first, second, control_text::octets_of(request),
                            [line, begin](const auto& reports, const std::string& trouble) {
                              for (const auto& report : reports) {
                                std::cout << "report " << digits(report) << std::endl;
                              }
                              say(line, begin, trouble.empty() ? std::to_string(reports.size()) : trouble);
                            });
    } else if (what == "backhaul") {
      words >> opclass >> channel;
      air_->move_backhaul(first, second, static_cast<std::uint8_t>(opclass), static_cast<std::uint8_t>(channel),
                          on_done);
    } else {
      say(line, begin, "unknown");
    }
  }

  void show() {
    for (const AirRadio& radio : air_->radios()) {
      std::cout << "radio " << radio.identifier << ' ' << radio.name << ' ' << radio.bands.size() << " bands, "
                << int{radio.most_bss} << " BSSs, " << text_of(radio.channel) << std::endl;
      for (const AirBss& bss : radio.bss) {
        std::cout << "bss " << bss.bssid << ' ' << bss.interface << ' ' << bss.ssid << std::endl;
        for (const AirClient& client : bss.clients) {
          std::cout << "client " << client.station.mac << " can_move=" << (client.can_move ? int{*client.can_move} : -1)
                    << " request=" << digits(client.association_request) << std::endl;
        }
      }
      if (radio.backhaul) {
        std::cout << "backhaul " << radio.backhaul->station << ' ' << radio.backhaul->interface << ' '
                  << radio.backhaul->bssid.value_or(MACAddress()) << std::endl;
      }
    }
    std::cout << "shown" << std::endl;
  }

  qel::daemon::Mainloop& loop_;
  Radios radios_;
  ControlSockets sockets_;
  std::unique_ptr<LinuxAir> air_ = std::make_unique<LinuxAir>(radios_, sockets_);
  std::string input_;
};

}  // namespace

int main() {
  qel::daemon::Mainloop loop("air_probe", false);
  const auto probe = std::make_shared<Probe>(loop);
  loop.add_watch(probe);
  loop.run_until_finished();
  loop.remove_watch(probe);
}
