#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "qel/core/mac_address.h"

namespace meshd {

/// The row of questions to one device: its topology first, then its metrics to one of its neighbours after the other.
/// One question is open at a time, and it is put again when no answer comes.
class Inquiry {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  enum class Question : std::uint8_t { TOPOLOGY, METRICS };

  /// A question is put so often at least, before it is given up.
  static constexpr std::size_t MOST_TRIES = 5;
  static constexpr std::chrono::seconds PATIENCE{2};

  /// Neighbours that one row asks for: a device with more tells of the others in the next rows.
  static constexpr std::size_t MOST_METRICS = 16;

  /// What comes next, or is open.
  Question question() const { return question_; }
  bool is_open() const { return is_open_; }

  /// When the next question is to be put, or the open one again.
  TimePoint due() const { return due_; }

  /// The neighbour that is asked for; there is one when the question is METRICS.
  const qel::MACAddress& neighbor() const { return neighbors_.back(); }

  /// How often the open question was put.
  std::size_t tries() const { return tries_; }

  /// The question was put with this identifier, for the first time or again, and is due once more then.
  void put(std::uint16_t message_id, TimePoint due);

  /// Whether it has the identifier of the open question, which it answers then. Answers to it that come later are none.
  bool answer(Question question, std::uint16_t message_id);

  /// The metrics to these neighbours are asked for next, the last one first. They must not be empty.
  void go_on_with(std::vector<qel::MACAddress> neighbors, TimePoint now);

  /// On to the next neighbour; false when there is none, and rest() must follow.
  bool next_neighbor(TimePoint now);

  /// The row is over, and the next is due then.
  void rest(TimePoint until);

  /// Brings the next row forward. While one goes on that is the one behind it; see give_way().
  void hurry(TimePoint due);

  /// Ends a row of metrics, answered or not, when the next row was brought forward and is due.
  void give_way(TimePoint now);

 private:
  static constexpr std::size_t IDENTIFIERS = 4;

  Question question_ = Question::TOPOLOGY;
  bool is_open_ = false;
  std::uint8_t tries_ = 0;
  std::array<std::uint16_t, IDENTIFIERS> message_ids_{};  // of the last tries
  TimePoint due_;
  std::optional<TimePoint> hurried_;        // the next row is due then at the latest
  std::vector<qel::MACAddress> neighbors_;  // still to be asked for, the next one last
};

}  // namespace meshd
