#pragma once

#include <functional>
#include <string>
#include <vector>

#include "qel/daemon/watches.h"

namespace qel::daemon {

/// Records which handlers are called.
class ProbeWatch final : public ISimpleFDWatch {
 public:
  ProbeWatch(int fd, std::vector<std::string>& log) : ISimpleFDWatch(fd, "probe"), log_(log) {}
  ~ProbeWatch() override { log_.push_back("dies"); }

  void on_readable() override {
    log_.push_back("readable");
    if (when_readable) {
      when_readable();
      log_.push_back("still alive");
    }
  }
  void on_writable() override { log_.push_back("writable"); }

  std::function<void()> when_readable;

 private:
  std::vector<std::string>& log_;
};

}  // namespace qel::daemon
