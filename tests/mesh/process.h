#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace qel::test {

/// A program that runs beside the test; killed with the object if it still does.
class Process {
 public:
  /// Its standard output and error go to files in `folder`, its standard input holds `input`.
  Process(const std::string& folder, const std::vector<std::string>& command, const std::string& input = "");
  Process(Process&& other) noexcept;
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;
  ~Process();

  void signal(int number) const;

  /// Waits for its end: the exit status, or minus the signal that ended it. When it does not end within some seconds it
  /// is killed.
  int wait();

  /// What it wrote so far.
  std::string out() const;
  std::string err() const;

 private:
  std::string path_;  // of both files, up to the suffix
  pid_t id_ = -1;
};

}  // namespace qel::test
