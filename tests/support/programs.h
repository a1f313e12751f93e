#pragma once

#include "tests/support/emulator.h"
#include "tests/support/testing.h"

namespace qel::test {

/// The path of one of this build's programs, which are beside the test's own.
inline std::string program(const std::string& name) {
  const std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  return UNDER_EMULATOR ? folder / "emulated" / name : folder / name;
}

/// Whether this build has a sanitizer.
extern "C" __attribute__((weak)) void __asan_init();
inline const bool SANITIZED = __asan_init != nullptr;

}  // namespace qel::test
