#include "qel/daemon/build_type.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace qel {
namespace {

/// The environment is read once per process, so every row has a process of its own; it exits with 0 when all is well.
void expect_build_type(const char* text, int type, bool is_production) {
  SCOPED_TRACE(text == nullptr ? "not set" : text);
  EXPECT_EXIT(
      {
        if (text == nullptr) {
          unsetenv("CONFIG_BUILDTYPE");
        } else {
          setenv("CONFIG_BUILDTYPE", text, 1);
        }
        const bool right = get_build_type() == GUBuildType(type) && is_production_release() == is_production;
        setenv("CONFIG_BUILDTYPE", type == 2 ? "3" : "2", 1);
        const bool kept = get_build_type() == GUBuildType(type) && is_production_release() == is_production;
        std::exit(right && kept ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(BuildTypeDeathTest, IsReadOnceFromTheEnvironment) {
  expect_build_type("1", 1, true);
  expect_build_type("2", 2, true);
  expect_build_type("3", 3, false);
  expect_build_type("998", 998, false);
  expect_build_type("1000", 1000, true);
  expect_build_type("1005", 1005, true);
  expect_build_type("1007", 1007, true);
  expect_build_type("1005abc", 1005, true);
  for (const char* invalid : {"0", "4", "997", "999", "1008", "-1", "abc", ""}) {
    expect_build_type(invalid, 0, false);
  }
  expect_build_type(nullptr, 0, false);
  // 2^32 + 2 and beyond 2^63: neither may come out as 2.
  expect_build_type("4294967298", 0, false);
  expect_build_type("99999999999999999999", 0, false);
}

TEST(BuildType, ValidNumbers) {
  for (int number = -1; number < 1100; ++number) {
    const bool expected = (number >= 1 && number <= 3) || number == 998 || (number >= 1000 && number <= 1007);
    EXPECT_EQ(is_valid(GUBuildType(number)), expected) << number;
  }
}

}  // namespace
}  // namespace qel
