#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/client_tlvs.h"
#include "qel/ieee1905_1/message.h"
#include "tools/meshd/multi_ap/mesh.h"

namespace meshd::multi_ap {

/// What came of a request.
enum class Outcome : std::uint8_t {
  DONE,      ///< it was acknowledged, or its answer came
  REFUSED,   ///< the answer is an error code; of a request that is only acknowledged, the acknowledgment names one
  GIVEN_UP,  ///< nothing came, even after it was repeated
};

/// Carries requests to other devices: repeats each until it is acknowledged or answered, and gives up at some point.
/// Answers are matched by device and message identifier.
class Courier {
 public:
  /// A request is sent this many times.
  static constexpr int ATTEMPTS = 3;
  static constexpr std::chrono::seconds PATIENCE{2};  ///< after each of them
  static constexpr std::size_t MOST_WAITING = 4096;   ///< requests; the oldest gives way, and is given up

  /// Gets the answer, or null if it has none. `took` is the time since the request was first sent.
  using OnOutcome =
      std::function<void(Outcome outcome, const qel::ieee1905_1::Message* answer, std::chrono::milliseconds took)>;

  /// The mesh is borrowed. Requests that wait when this is destroyed have no outcome.
  explicit Courier(Mesh& mesh) : mesh_(mesh) {}

  /// Sends a request whose answer is a message of this type with the same identifier; IEEE1905_ACK_MESSAGE for one that
  /// is only acknowledged. `on_outcome` is called exactly once, never from within this, and may send again.
  void request(const qel::MACAddress& to, qel::ieee1905_1::Message message, qel::ieee1905_1::MessageType answer,
               TimePoint now, OnOutcome on_outcome);

  /// Returns whether the message is what a request waited for.
  bool take(const Received& received);

  /// Repeats and gives up what is due.
  void tend(TimePoint now);

  /// The device is gone: gives up what is for it with the next tend().
  void forget(const qel::MACAddress& al_mac);

  std::size_t count_waiting() const { return waiting_.size(); }

 private:
  struct Request {
    qel::MACAddress to;
    qel::ieee1905_1::Message message;
    qel::ieee1905_1::MessageType answer;
    TimePoint first_sent;
    TimePoint due;
    int attempts;
    OnOutcome on_outcome;
  };
  using Requests = std::map<std::uint64_t, Request>;  // in the order in which they were made
  using Key = std::pair<qel::MACAddress, std::uint16_t>;

  void send(Request& request, TimePoint now);
  void displace(std::uint64_t number);
  void end(Requests::iterator place, Outcome outcome, const qel::ieee1905_1::Message* answer, TimePoint now);

  Mesh& mesh_;
  std::uint64_t made_ = 0;
  Requests waiting_;
  std::map<Key, std::uint64_t> numbers_;  // of the waiting requests, by device and message identifier
  Requests displaced_;                    // given up since the last tend(), which tells their owners
};

/// Acknowledges a message that demands it (Multi-AP Specification, 15.1); with a reason if it was refused for a client.
/// One that was sent to all is never acknowledged.
void acknowledge(Mesh& mesh, const Received& received, std::optional<qel::ieee1905_1::ErrorCodeTLV> error = {});

}  // namespace meshd::multi_ap
