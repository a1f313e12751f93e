#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace meshd {

/// Lets one event in a second pass, and counts those that it holds back.
class OnceASecond {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// One more event: nothing when it is held back, else how many were before it.
  std::optional<std::uint64_t> count(TimePoint now);

  /// How many are held back and may be told of now, as if one of them passed; 0 for none.
  std::uint64_t release(TimePoint now);

  /// Nothing has happened for so long that the next event passes.
  bool is_idle(TimePoint now) const { return held_back_ == 0 && is_over(now); }

 private:
  bool is_over(TimePoint now) const { return !passed_ || now - *passed_ >= std::chrono::seconds(1); }

  std::optional<TimePoint> passed_;
  std::uint64_t held_back_ = 0;
};

/// Logs what goes wrong, for the operator to see: once a second for each cause, with a count, so that what happens a
/// thousand times a second does not push everything else out of the log.
class TroubleLog {
 public:
  using TimePoint = OnceASecond::TimePoint;

  /// `cause` is the whole line. There should not be many of them.
  void note(const std::string& cause, TimePoint now);

  /// To be called once a second: tells of those that were held back.
  void flush(TimePoint now);

 private:
  std::map<std::string, OnceASecond> causes_;
};

}  // namespace meshd
