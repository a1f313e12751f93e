#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "fuzz/round_trip.h"
#include "qel/ieee1905_1/lenient.h"
#include "tools/meshd/agent/agent.h"
#include "tools/meshd/controller/controller.h"
#include "tools/meshd/controller/plan.h"
#include "tools/meshd/multi_ap/discovery.h"
#include "tools/meshd/wifi/radio.h"
#include "tools/meshd/wifi/simulated_air.h"

/// Feeds an agent and a controller of one device any sequence of messages, times, events of radios and orders of the
/// operator. Everything that they send can be encoded, one message makes them send few, and they use a bounded amount
/// of memory.
///
/// The input is a sequence of steps. Each begins with an octet that selects the step (modulo 8); its fields follow,
/// with numbers in network byte order. A device, a BSS, a radio and a client are numbers of one octet.
///
///   0  time passes               seconds (1), modulo 32
///   1  a device comes or leaves  device (1), whether it comes (1)
///   2  a client comes or leaves  client (1), BSS (1), signal (1); 0 for one that leaves
///   3  the operator orders       which order (1), its two fields (1 each)
///   4  the controller gives the agent orders, or others do    device (1), 0 for the agent's own
///   5  radar                     radio (1)
///   *  a message                 device (1), type (1): below 64 of Multi-AP, else of 1905.1; identifier (1), relative
///                                to that of the last request to the device; size of its TLVs (2), TLVs

// From the sanitizer, if there is one.
extern "C" __attribute__((weak)) std::size_t __sanitizer_get_current_allocated_bytes();

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::MACAddress;
using qel::fuzz::require;
using Octets = std::vector<std::uint8_t>;
using TimePoint = meshd::multi_ap::TimePoint;

constexpr std::size_t MOST_STEPS = 1000;
constexpr std::size_t MOST_SENT = 1000;  // in one step; 31 seconds are the longest
constexpr std::size_t MOST_MEMORY = 8 * 1024 * 1024;
constexpr meshd::controller::Limits LIMITS{
    .agents = 4, .radios = 3, .bss = 3, .clients = 16, .heard = 4, .departed = 8, .octets = 512, .controllers = 2};

MACAddress address(std::uint8_t kind, unsigned int number) {
  return MACAddress({2, 0x19, 5, kind, 0, static_cast<std::uint8_t>(number)});
}
MACAddress device(unsigned int number) { return address(0xA0, number % 8); }
MACAddress radio(unsigned int number) { return address(0x10, number % 4); }
MACAddress bss(unsigned int number) { return address(0xB0, number % 4); }
MACAddress client(unsigned int number) { return address(0xC0, number % 32); }

class Input {
 public:
  explicit Input(std::span<const std::uint8_t> octets) : rest_(octets) {}

  bool is_empty() const { return rest_.empty(); }
  /// Missing octets are zero.
  unsigned int octet() {
    const auto taken = take(1);
    return taken.empty() ? 0 : taken[0];
  }
  std::span<const std::uint8_t> take(std::size_t size) {
    const auto taken = rest_.first(std::min(size, rest_.size()));
    rest_ = rest_.subspan(taken.size());
    return taken;
  }

 private:
  std::span<const std::uint8_t> rest_;
};

class World final : public meshd::multi_ap::Mesh {
 public:
  World() : al_mac_(device(0)) {
    static const std::vector<meshd::wifi::AirRadio> RADIOS = radios();  // takes long to make
    air_.state = RADIOS;
    air_.is_recording = false;
    meshd::controller::Policy policy;
    policy.plan.is_on = policy.steering.is_on = true;
    controller_ = std::make_unique<meshd::controller::Controller>(
        *this, meshd::controller::Config{.policy = policy, .limits = LIMITS});
    finder_ = std::make_unique<meshd::multi_ap::ControllerFinder>(*this);
    agent_ = std::make_unique<meshd::agent::Agent>(
        *this, air_, meshd::agent::Config{[this] { return given_ ? given_ : finder_->controller(); }});
  }

  void run(Input input) {
    for (std::size_t steps = 0; !input.is_empty() && steps < MOST_STEPS; ++steps) {
      sent_ = 0;
      step(input);
      while (air_.deliver()) {
      }
      deliver_own();
      require(sent_ <= MOST_SENT, "a step has few messages");
    }
    if (&__sanitizer_get_current_allocated_bytes != nullptr) {
      own_.clear();
      const std::size_t with = __sanitizer_get_current_allocated_bytes();
      agent_.reset();
      controller_.reset();
      require(with - __sanitizer_get_current_allocated_bytes() <= MOST_MEMORY, "memory is bounded");
    }
  }

  const MACAddress& al_mac() const override { return al_mac_; }
  bool send(const MACAddress& al_mac, const Message& message) override {
    ++sent_;
    const Octets octets = encoded(message);
    if (al_mac == al_mac_ && own_.size() < 1024) {
      own_.push_back(octets);
    }
    last_id_.at(al_mac.octets()[5] % 8) = message.get_head().get_message_id();
    return true;
  }
  void send_to_all(const Message& message) override {
    require(message.get_head().get_relay_indicator(), "a message to all is relayed");
    send(al_mac_, message);
  }

 private:
  /// One at 5 GHz, with the channels up to 64, and one at 2.4 GHz.
  static std::vector<meshd::wifi::AirRadio> radios() {
    constexpr qel::FrequencyBand BANDS[] = {qel::FrequencyBand::BAND_5_GHZ, qel::FrequencyBand::BAND_2_4_GHZ};
    std::vector<meshd::wifi::AirRadio> radios;
    for (unsigned int number = 0; number < std::size(BANDS); ++number) {
      meshd::wifi::AirRadio& made = radios.emplace_back(meshd::wifi::simulated_radio(radio(number), {BANDS[number]}));
      std::erase_if(made.bands[0].channels,
                    [](const meshd::wifi::WiphyChannel& channel) { return channel.frequency > qel::kHz(5320000); });
      meshd::wifi::Wiphy wiphy;
      wiphy.addresses = {made.identifier};
      wiphy.bands = made.bands;
      made.radios = {meshd::wifi::radio_of(wiphy, BANDS[number], nullptr, 1)};
      made.bss = {{bss(number), "wlan" + std::to_string(number), "home"}};
    }
    radios[0].channel = meshd::wifi::simulated_channel(qel::kHz(5180000), qel::ChannelWidth::WIDTH_80_MHZ);
    radios[1].channel = meshd::wifi::simulated_channel(qel::kHz(2412000));
    radios[0].backhaul = {client(31), "wlan2", bss(3)};
    return radios;
  }

  static Octets encoded(const Message& message) {
    std::ostringstream sink;
    qel::serialization::SerializationContext context;
    require(qel::fuzz::refusal([&] { encode(message, sink, context); }).empty(), "what is sent can be encoded");
    const std::string text = sink.str();
    return {text.begin(), text.end()};
  }

  void step(Input& input) {
    switch (input.octet() % 8) {
      case 0:
        for (unsigned int seconds = input.octet() % 32; seconds > 0; --seconds) {
          now_ += std::chrono::seconds(1);
          each([this](meshd::multi_ap::Service& service) { service.tend(now_); });
          air_.deliver();
          deliver_own();
        }
        break;
      case 1: {
        const MACAddress al_mac = device(input.octet());
        const bool is_there = input.octet() % 2 != 0;
        each([&](meshd::multi_ap::Service& service) { service.on_device(al_mac, is_there, now_); });
        break;
      }
      case 2: {
        const MACAddress who = client(input.octet());
        const unsigned int where = input.octet();
        if (const unsigned int signal = input.octet(); signal != 0) {
          air_.join(bss(where),
                    meshd::wifi::simulated_client(who, static_cast<std::int8_t>(-30 - static_cast<int>(signal % 70))));
        } else {
          air_.leave(who);
        }
        break;
      }
      case 3:
        order(input.octet(), input.octet(), input.octet());
        break;
      case 4: {
        const unsigned int number = input.octet();
        given_ = number == 0 ? std::nullopt : std::optional(device(number));
        break;
      }
      case 5:
        air_.find_radar(radio(input.octet() % 2), qel::kHz(5180000));
        break;
      default:
        message(input);
    }
  }

  void order(unsigned int which, unsigned int one, unsigned int other) {
    const auto ignore = [](const meshd::controller::Result&) {};
    try {
      switch (which % 4) {
        case 0:
          controller_->steer(client(one), bss(other), other % 2 != 0, now_, ignore);
          break;
        case 1:
          controller_->block(client(one), {bss(other)}, static_cast<std::uint16_t>(one), now_, ignore);
          break;
        case 2:
          controller_->set_channel(radio(one), other, qel::ChannelWidth::WIDTH_20_MHZ, now_, ignore);
          break;
        default: {
          const auto planned = controller_->plan(now_);
          plan_text(planned.input, planned.plan);
          plan_json(planned.input, planned.plan);
          controller_->apply_plan(now_, ignore);
        }
      }
    } catch (const std::invalid_argument&) {  // NOLINT(bugprone-empty-catch): it makes no sense
    }
  }

  void message(Input& input) {
    const unsigned int from = input.octet();
    const unsigned int type = input.octet();
    const std::uint16_t id = static_cast<std::uint16_t>(last_id_.at(from % 8) + input.octet());
    const MessageHead head(MessageVersion::IEEE1905_1,
                           static_cast<MessageType>(type < 64 ? 0x8000U + type : type % 16U), id, 0, true,
                           type % 16U == 1 && type >= 64);
    Octets octets = encoded(Message(head));
    const unsigned int size = input.octet() << 8U;
    const auto tlvs = input.take(size + input.octet());
    octets.insert(octets.end(), tlvs.begin(), tlvs.end());
    deliver(octets, device(from), from % 8 == 0 ? "" : "eth0");
  }

  void deliver(const Octets& octets, const MACAddress& from, const std::string& interface) {
    qel::serialization::SerializationContext context;
    const LenientMessage content = decode_leniently(octets, context);
    const meshd::multi_ap::Received received{from, interface, content.message.get_head().get_relay_indicator(),
                                             now_, content,   true};
    each([&](meshd::multi_ap::Service& service) { service.take(received); });
  }

  void deliver_own() {
    for (std::size_t count = 0; !own_.empty() && count < 100; ++count) {
      const Octets octets = std::move(own_.front());
      own_.pop_front();
      deliver(octets, al_mac_, "");
    }
  }

  template <class Action>
  void each(Action action) {
    action(*controller_);
    action(*finder_);
    action(*agent_);
  }

  MACAddress al_mac_;
  TimePoint now_{std::chrono::hours(1)};
  std::size_t sent_ = 0;
  std::array<std::uint16_t, 8> last_id_{};
  std::deque<Octets> own_;
  std::optional<MACAddress> given_;
  meshd::wifi::SimulatedAir air_;
  std::unique_ptr<meshd::controller::Controller> controller_;
  std::unique_ptr<meshd::multi_ap::ControllerFinder> finder_;
  std::unique_ptr<meshd::agent::Agent> agent_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  World().run(Input({data, size}));
  return 0;
}
