#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "tests/support/testing.h"

namespace qel::test {

/// A program that runs beside the test; killed with the object if it still does.
class Process {
 public:
  /// Its standard output and error go to files in `folder`, its standard input holds `input`.
  Process(const std::string& folder, const std::vector<std::string>& command, const std::string& input = "") {
    static int count = 0;
    path_ = folder + "/process" + std::to_string(++count);
    std::ofstream(path_ + ".in") << input;
    id_ = fork();
    if (id_ == 0) {
      redirect(STDIN_FILENO, path_ + ".in", O_RDONLY);
      redirect(STDOUT_FILENO, path_ + ".out", O_WRONLY | O_CREAT | O_TRUNC);
      redirect(STDERR_FILENO, path_ + ".err", O_WRONLY | O_CREAT | O_TRUNC);
      std::vector<char*> words;
      for (const std::string& word : command) {
        words.push_back(const_cast<char*>(word.c_str()));
      }
      words.push_back(nullptr);
      execvp(words[0], words.data());
      _exit(127);
    }
  }
  Process(Process&& other) noexcept : path_(std::move(other.path_)), id_(std::exchange(other.id_, -1)) {}
  ~Process() {
    if (id_ > 0) {
      kill(id_, SIGKILL);
      waitpid(id_, nullptr, 0);
    }
  }

  void signal(int number) const { kill(id_, number); }

  /// Waits for its end: the exit status, or minus the signal that ended it. When it does not end within some seconds it
  /// is killed.
  int wait() {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    int status = 0;
    while (waitpid(id_, &status, WNOHANG) == 0) {
      if (std::chrono::steady_clock::now() > limit) {
        kill(id_, SIGKILL);
        waitpid(id_, &status, 0);
        break;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    id_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  /// What it wrote so far.
  std::string out() const { return content(path_ + ".out"); }
  std::string err() const { return content(path_ + ".err"); }

 private:
  static void redirect(int descriptor, const std::string& path, int flags) {
    const int file = open(path.c_str(), flags | O_CLOEXEC, 0600);
    if (file < 0 || dup2(file, descriptor) < 0) {
      _exit(126);
    }
  }

  static std::string content(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
  }

  std::string path_;  // of its files, up to the suffix
  pid_t id_ = -1;
};

}  // namespace qel::test
