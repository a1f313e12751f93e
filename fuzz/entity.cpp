#include "tools/meshd/entity/entity.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <sstream>
#include <utility>
#include <vector>

#include "fuzz/round_trip.h"
#include "tools/meshd/entity/lldp.h"
#include "tools/meshd/view/topology_view.h"

/// Feeds an entity any sequence of frames, times and commands. The entity must answer no more than its limits allow,
/// send nothing unasked except after a query or a discovery, relay no message twice while it remembers it, accept no
/// device at the address of another, and use a bounded amount of memory.
///
/// The input is a sequence of steps. Each begins with an octet that selects the step (modulo 8); its fields follow,
/// with numbers in network byte order:
///
///   0  time passes               milliseconds (2)
///   1  announce
///   2  block an interface        number (1), the uppermost bit unblocks
///   3  another address           number (1), address (1)
///   4  a frame as it is          interface (1), size (2), octets
///   5  the last frame again, with the next identifiers    interface (1), times less one (1)
///   6  a relayed frame returns   interface (1), which of those sent (1)
///   7  a message                 interface (1), destination (1), source (1), type (2), identifier (2), flags (1),
///                                size of its TLVs (2), TLVs
///
/// An address is one octet: the number of a device or, with the highest bit set, of an interface; 0 is the group
/// address. With the lowest bit of the flags set, the identifier is relative to that of the entity's last query.

// From the sanitizer, if there is one.
extern "C" __attribute__((weak)) std::size_t __sanitizer_get_current_allocated_bytes();

namespace {

using qel::MACAddress;
using qel::fuzz::require;
using qel::ieee1905_1::MessageType;
using Octets = std::vector<std::uint8_t>;
using std::chrono::milliseconds;

constexpr std::size_t INTERFACES = 3;
constexpr std::size_t MOST_FRAMES = 2000;        // in one input
constexpr std::size_t MOST_MEMORY = 512 * 1024;  // of an entity
constexpr meshd::Limits LIMITS{.links = 16, .devices = 32};
constexpr std::size_t MOST_WORDS = 5;   // after a discovery: another one, LLDP, a query and two messages about us
constexpr std::size_t MOST_GROWTH = 8;  // of these, or of the queries after a response, in octets
constexpr std::size_t MOST_QUESTIONS = 1 + meshd::Inquirer::QUESTIONS_AT_ONCE;     // after a response
constexpr std::size_t ROUND = 2 * INTERFACES + 4 * LIMITS.links + MOST_QUESTIONS;  // frames at regular intervals
constexpr std::size_t MESSAGE_ID = meshd::ETHER_HEADER_SIZE + 4;

MACAddress address(unsigned int number) {
  return number == 0 ? qel::ieee1905_1::CMDU_MULTICAST_ADDRESS
                     : MACAddress({2, 0x19, 5, static_cast<std::uint8_t>(number < 0x80 ? 0xA0 : 0x10), 0,
                                   static_cast<std::uint8_t>(number & 0x7FU)});
}

class Input {
 public:
  explicit Input(std::span<const std::uint8_t> octets) : rest_(octets) {}

  bool is_empty() const { return rest_.empty(); }
  /// Missing octets are zero.
  unsigned int number(int size) {
    unsigned int value = 0;
    for (; size > 0; --size) {
      const auto octet = take(1);
      value = value << 8U | (octet.empty() ? 0U : octet[0]);
    }
    return value;
  }
  std::span<const std::uint8_t> take(std::size_t size) {
    const auto taken = rest_.first(std::min(size, rest_.size()));
    rest_ = rest_.subspan(taken.size());
    return taken;
  }

 private:
  std::span<const std::uint8_t> rest_;
};

class World final : public meshd::Ports {
 public:
  World() : entity_(std::make_unique<meshd::Entity>(configure(), *this)) {}

  void run(Input input) {
    while (!input.is_empty() && frames_ < MOST_FRAMES) {
      step(input);
      check_table();
    }
    for (const auto& [frame, interface] : Relayed(relayed_)) {  // as in a ring with a slow link
      if (now_ - relayed_at_[{interface, frame}] < meshd::DuplicateFilter::MEMORY) {
        receive(interface, frame);
      }
    }
    const auto view = view_topology("fuzz", *entity_, now_);
    std::ostringstream os;
    print_text(os, view);
    print_json(os, view);
    print_dot(os, view);
    check_memory();
  }

 private:
  using Relayed = std::vector<std::pair<Octets, std::size_t>>;

  static meshd::Entity::Config configure() {
    meshd::Entity::Config config{address(1), {0, 1}, {}, milliseconds(3000), LIMITS};
    for (unsigned int number = 0; number < INTERFACES; ++number) {
      config.interfaces.push_back({"eth" + std::to_string(number), address(0x91 + number), number < 2 ? "br" : ""});
    }
    return config;
  }

  void step(Input& input) {
    switch (input.number(1) % 8) {
      case 0:
        now_ += milliseconds(input.number(2));
        own([this] { entity_->tend(now_); }, ROUND);
        break;
      case 1:
        own([this] { entity_->announce(now_); }, ROUND);
        break;
      case 2: {
        const unsigned int number = input.number(1);
        blocking_ = number % INTERFACES;  // the neighbour there is told before
        own([&] { entity_->set_blocked(blocking_, number < 0x80); }, ROUND);
        blocking_ = INTERFACES;
        break;
      }
      case 3: {
        const std::size_t interface = input.number(1) % INTERFACES;
        own([&] { entity_->replace_interface(interface, {"new", address(input.number(1)), ""}); }, 2);
        break;
      }
      case 4: {
        const unsigned int interface = input.number(1);
        const auto octets = input.take(input.number(2));
        receive(interface, {octets.begin(), octets.end()});
        break;
      }
      case 5: {
        const unsigned int interface = input.number(1);
        for (unsigned int times = input.number(1) + 1; times > 0 && last_.size() > MESSAGE_ID + 1; --times) {
          last_[MESSAGE_ID] = static_cast<std::uint8_t>(last_[MESSAGE_ID] + (++last_[MESSAGE_ID + 1] == 0 ? 1 : 0));
          receive(interface, last_);
        }
        break;
      }
      case 6: {
        const unsigned int interface = input.number(1);
        const unsigned int which = input.number(1);
        if (!relayed_.empty()) {
          receive(interface, Octets(relayed_[which % relayed_.size()].first));
        }
        break;
      }
      default: {
        const unsigned int interface = input.number(1);
        receive(interface, make_message(input));
      }
    }
  }

  Octets make_message(Input& input) const {
    Octets frame;
    for (int addresses = 2; addresses > 0; --addresses) {
      const MACAddress mac = address(input.number(1));
      frame.insert(frame.end(), mac.octets().begin(), mac.octets().end());
    }
    const unsigned int type = input.number(2);
    const unsigned int id = input.number(2);
    const unsigned int flags = input.number(1);
    const unsigned int message_id = (flags & 1U) != 0 ? last_question_ + id : id;
    for (const unsigned int octet : {0x89U, 0x3AU, 0U, 0U, type >> 8U, type, message_id >> 8U, message_id, 0U, flags}) {
      frame.push_back(static_cast<std::uint8_t>(octet));
    }
    const auto tlvs = input.take(input.number(2));
    frame.insert(frame.end(), tlvs.begin(), tlvs.end());
    return frame;
  }

  /// What the entity does unasked, with at most this many frames.
  template <class Action>
  void own(Action action, std::size_t most) {
    received_ = nullptr;
    words_ = 0;
    action();
    require(words_ <= most, "what it says of its own is bounded");
  }

  void receive(std::size_t interface, const Octets& frame) {
    interface_ = interface % INTERFACES;
    const Octets received = frame;
    last_ = received;
    received_ = &received;
    words_ = word_octets_ = 0;
    const std::size_t answers = answers_;
    entity_->receive(interface_, received, now_);
    ++frames_;
    const auto parsed = meshd::Codec().parse(received);
    const MessageType type = parsed ? parsed->head.get_message_type() : MessageType::DUMMY;
    const bool is_answer =
        type == MessageType::TOPOLOGY_RESPONSE_MESSAGE || type == MessageType::LINK_METRIC_RESPONSE_MESSAGE;
    const std::size_t most = type == MessageType::TOPOLOGY_DISCOVERY_MESSAGE ? MOST_WORDS
                             : is_answer                                     ? MOST_QUESTIONS
                                                                             : 0;
    require(words_ <= most, "it speaks when it is spoken to");
    require((parsed && parsed->head.is_fragmented()) || word_octets_ <= MOST_GROWTH * received.size(),
            "words are not amplified");
    require(answers_ - answers <= 1, "a question has one answer");
    require(answers_ == answers || parsed->destination != qel::ieee1905_1::CMDU_MULTICAST_ADDRESS,
            "a question to all has none");
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now_.time_since_epoch()).count() + 1;
    require(answers_ <= static_cast<std::size_t>(meshd::AnswerLimits::IN_ALL_AT_ONCE +
                                                 meshd::AnswerLimits::IN_ALL_A_SECOND * seconds),
            "answers are limited");
    const meshd::FrameCounts counts = entity_->counts();
    require(counts.processed + counts.ignored + counts.blocked + counts.foreign + counts.own + counts.duplicates +
                    counts.fragments + counts.rejected + counts.unasked + counts.unanswered ==
                frames_,
            "each frame is counted once");
  }

  void send(std::size_t interface, std::span<const std::uint8_t> octets) override {
    require(interface == blocking_ || !entity_->is_blocked(interface), "nothing is sent on a blocked interface");
    require(octets.size() <= meshd::MAX_FRAME_SIZE, "frames fit a link");
    if (meshd::is_lldp(octets)) {
      ++words_;
      word_octets_ += octets.size();
      return;
    }
    const auto frame = meshd::Codec().parse(octets);
    require(frame.has_value(), "frames are whole");
    const MessageType type = frame->head.get_message_type();
    if (received_ != nullptr && std::ranges::equal(octets, *received_)) {
      require(interface != interface_, "nothing is relayed back");
      const auto [place, is_new] = relayed_at_.try_emplace({interface, *received_}, now_);
      require(is_new || now_ - place->second >= meshd::DuplicateFilter::MEMORY, "nothing is relayed twice");
      place->second = now_;
      relayed_.emplace_back(*received_, interface);
    } else if (type == MessageType::TOPOLOGY_RESPONSE_MESSAGE || type == MessageType::LINK_METRIC_RESPONSE_MESSAGE) {
      answers_ += frame->head.get_fragment_id() == 0 ? 1U : 0U;
    } else {
      ++words_;
      word_octets_ += octets.size();
    }
    if (type == MessageType::TOPOLOGY_QUERY_MESSAGE || type == MessageType::LINK_METRIC_QUERY_MESSAGE) {
      last_question_ = frame->head.get_message_id();
    }
  }

  void check_table() const {
    std::size_t links = 0;
    const auto& all = entity_->neighbors().all();
    for (const meshd::Neighbor& neighbor : all) {
      links += neighbor.links.size();
      require(neighbor.al_mac != address(1) && !neighbor.links.empty(), "a neighbor is another with a link");
      for (const meshd::NeighborLink& link : neighbor.links) {
        const meshd::Neighbor* owner = entity_->neighbors().find(link.mac);
        require(owner == nullptr || owner == &neighbor, "no link leads to another device");
      }
    }
    require(links <= LIMITS.links, "links are limited");
    require(entity_->devices().all().size() <= LIMITS.devices, "devices are limited");
  }

  void check_memory() {
    if (&__sanitizer_get_current_allocated_bytes != nullptr) {
      const std::size_t with = __sanitizer_get_current_allocated_bytes();
      entity_.reset();
      require(with - __sanitizer_get_current_allocated_bytes() <= MOST_MEMORY, "memory is bounded");
    }
  }

  meshd::InterfaceState read_state(std::size_t interface) override {
    return {1, 2, 3, 4, static_cast<std::uint16_t>(100 * interface), true};
  }

  meshd::Entity::TimePoint now_;
  std::unique_ptr<meshd::Entity> entity_;
  std::size_t frames_ = 0;
  std::size_t answers_ = 0;
  unsigned int last_question_ = 0;
  Octets last_;
  Relayed relayed_;
  std::map<std::pair<std::size_t, Octets>, meshd::Entity::TimePoint> relayed_at_;

  const Octets* received_ = nullptr;  // while the entity handles it, and the interface on which it arrived
  std::size_t interface_ = 0;
  std::size_t blocking_ = INTERFACES;
  std::size_t words_ = 0;  // the entity's own frames that are not responses
  std::size_t word_octets_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  World().run(Input({data, size}));
  return 0;
}
