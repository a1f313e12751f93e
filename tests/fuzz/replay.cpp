#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

/// Runs a fuzzer's test function on the files of its corpus; a fault aborts, as under the fuzzer.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s CORPUS\n", argv[0]);
    return 2;
  }
  std::size_t replayed = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    std::printf("%s\n", entry.path().c_str());
    std::fflush(stdout);
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<char> octets{std::istreambuf_iterator<char>(file), {}};
    const std::vector<std::uint8_t> input(octets.begin(), octets.end());
    LLVMFuzzerTestOneInput(input.data(), input.size());
    ++replayed;
  }
  std::printf("%zu inputs replayed\n", replayed);
  return replayed == 0 ? 1 : 0;
}
