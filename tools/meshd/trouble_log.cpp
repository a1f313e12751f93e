#include "tools/meshd/trouble_log.h"

#include <ostream>
#include <utility>

#include "qel/daemon/log.h"

namespace meshd {

namespace {

/// `more` is how often it happened since the last line; 0 if it is new.
void write(const std::string& cause, std::uint64_t more) {
  std::ostream& log = qel::debug::stream("meshd");
  log << qel::debug::LogLevels::ERROR << cause;
  if (more != 0) {
    log << " (" << more << " more times)";
  }
  log << std::endl;
}

}  // namespace

std::optional<std::uint64_t> OnceASecond::count(TimePoint now) {
  if (!is_over(now)) {
    ++held_back_;
    return std::nullopt;
  }
  passed_ = now;
  return std::exchange(held_back_, 0);
}

std::uint64_t OnceASecond::release(TimePoint now) {
  if (held_back_ == 0 || !is_over(now)) {
    return 0;
  }
  passed_ = now;
  return std::exchange(held_back_, 0);
}

void TroubleLog::note(const std::string& cause, TimePoint now) {
  if (const std::optional<std::uint64_t> held_back = causes_[cause].count(now)) {
    write(cause, *held_back == 0 ? 0 : *held_back + 1);
  }
}

void TroubleLog::flush(TimePoint now) {
  for (auto& [cause, events] : causes_) {
    if (const std::uint64_t held_back = events.release(now)) {
      write(cause, held_back);
    }
  }
  std::erase_if(causes_, [now](const auto& entry) { return entry.second.is_idle(now); });
}

}  // namespace meshd
