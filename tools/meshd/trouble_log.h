#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace meshd {

/// Lets one event a second pass, and counts those that it holds back.
class OnceASecond {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// One more event. Returns nothing if it is held back, else the number held back before it.
  std::optional<std::uint64_t> count(TimePoint now);

  /// The number of held-back events that may be reported now, as if one of them passed; 0 for none.
  std::uint64_t release(TimePoint now);

  /// Whether the next event would pass.
  bool is_idle(TimePoint now) const { return held_back_ == 0 && is_over(now); }

 private:
  bool is_over(TimePoint now) const { return !passed_ || now - *passed_ >= std::chrono::seconds(1); }

  std::optional<TimePoint> passed_;
  std::uint64_t held_back_ = 0;
};

/// Logs problems for the operator: once a second for each cause, with a count, so that a frequent problem does not push
/// everything else out of the log.
class TroubleLog {
 public:
  using TimePoint = OnceASecond::TimePoint;

  /// `cause` is the whole line. There should be few different ones.
  void note(const std::string& cause, TimePoint now);

  /// Call this once a second: reports what was held back.
  void flush(TimePoint now);

 private:
  std::map<std::string, OnceASecond> causes_;
};

}  // namespace meshd
