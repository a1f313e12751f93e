#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "qel/core/mac_address.h"

namespace meshd {

/// The sequence of queries to one device: first its topology, then its metrics to one neighbour after another. One
/// query is open at a time, and it is repeated if no response comes.
class Inquiry {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  enum class Question : std::uint8_t { TOPOLOGY, METRICS };

  /// A query is sent at least this many times before it is given up.
  static constexpr std::size_t MOST_TRIES = 5;
  static constexpr std::chrono::seconds PATIENCE{2};

  /// The number of neighbours that one sequence asks about; the next sequences ask about the others.
  static constexpr std::size_t MOST_METRICS = 16;

  /// The open query, or else the next one.
  Question question() const { return question_; }
  bool is_open() const { return is_open_; }

  /// When to send the next query, or to repeat the open one.
  TimePoint due() const { return due_; }

  /// When there is something to do: the next query, or giving way to a sequence that was brought forward.
  TimePoint next_step() const { return question_ == Question::METRICS && hurried_ ? std::min(due_, *hurried_) : due_; }

  /// The neighbour that the query asks about. Only for METRICS.
  const qel::MACAddress& neighbor() const { return neighbors_.back(); }

  /// How many times the open query was sent.
  std::size_t tries() const { return tries_; }

  /// The query was sent or repeated with this identifier. It is to be repeated at `due`.
  void put(std::uint16_t message_id, TimePoint due);

  /// Closes the open query if the response has one of its identifiers, and returns whether it did. Later responses to
  /// the same query do not count.
  bool answer(Question question, std::uint16_t message_id);

  /// Ask for the metrics to these neighbours next, the last one first. There must be at least one.
  void go_on_with(std::vector<qel::MACAddress> neighbors, TimePoint now);

  /// Moves on to the next neighbour. If there is none, returns false, and rest() must follow.
  bool next_neighbor(TimePoint now);

  /// The sequence is complete. The next one is due at `until`.
  void rest(TimePoint until);

  /// Brings the next sequence forward; during a sequence, the one after it. See give_way().
  void hurry(TimePoint due);

  /// Ends a sequence that is asking for metrics if the next one was brought forward and is due.
  void give_way(TimePoint now);

 private:
  static constexpr std::size_t IDENTIFIERS = 4;

  Question question_ = Question::TOPOLOGY;
  bool is_open_ = false;
  std::uint8_t tries_ = 0;
  std::array<std::uint16_t, IDENTIFIERS> message_ids_{};  // of the last tries
  TimePoint due_;
  std::optional<TimePoint> hurried_;        // the next sequence is due no later than this
  std::vector<qel::MACAddress> neighbors_;  // still to be asked about, the next one last
};

}  // namespace meshd
