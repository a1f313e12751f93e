#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/programs.h"
#include "tests/support/testing.h"

namespace meshdump {

inline const std::string DATA = QEL_TEST_DATA "/";
inline const std::string TWO_NODES = DATA + "captures/two-nodes-1905.pcap";
inline const std::string GATEWAY = DATA + "captures/gateway-and-repeater-multiap.pcap";
inline const std::string TAGGED = DATA + "captures/vlan-tagged.pcapng";

inline std::string read_file(const std::filesystem::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

class Meshdump : public testing::Test {
 protected:
  Meshdump() { std::filesystem::create_directories(directory_); }
  ~Meshdump() override { std::filesystem::remove_all(directory_); }

  std::string write_file(const std::string& name, const std::string& contents) const {
    const std::filesystem::path path = directory_ / name;
    std::ofstream(path, std::ios::binary) << contents;
    return path;
  }

  /// Runs a shell command in a directory of its own; $MESHDUMP is the tool.
  Outcome shell(const std::string& command, const std::string& input = "") const {
    write_file("in", input);
    const std::string script = "cd '" + directory_.string() + "' && MESHDUMP='" + qel::test::program("meshdump") +
                               "' && exec <in >out 2>err && " + command;
    const int status = std::system(script.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_file(directory_ / "out"), read_file(directory_ / "err")};
  }

  Outcome run(const std::string& arguments, const std::string& input = "") const {
    return shell("$MESHDUMP " + arguments, input);
  }

 private:
  std::filesystem::path directory_ =
      std::filesystem::path(testing::TempDir()) / ("meshdump." + std::to_string(getpid()));
};

}  // namespace meshdump
