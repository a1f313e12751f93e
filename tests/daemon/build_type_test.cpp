#include "qel/daemon/build_type.h"

#include "tests/support/testing.h"

namespace qel {
namespace {

/// The environment is read once per process, so each row has a process of its own, which exits with 0 on success.
TEST(BuildTypeDeathTest, IsReadOnceFromTheEnvironment) {
  const struct {
    const char* text;
    int type;
    bool is_production;
  } rows[] = {{"1", 1, true},       {"2", 2, true},          {"3", 3, false},   {"998", 998, false},
              {"1000", 1000, true}, {"1007", 1007, true},    {"4", 0, false},   {"999", 0, false},
              {"1008", 0, false},   {"1005abc", 1005, true}, {"abc", 0, false}, {"-1", 0, false},
              {nullptr, 0, false},  {"4294967298", 0, false}};
  for (const auto& [text, type, is_production] : rows) {
    EXPECT_EXIT(
        {
          text == nullptr ? unsetenv("CONFIG_BUILDTYPE") : setenv("CONFIG_BUILDTYPE", text, 1);
          for (int reading = 0; reading < 2; ++reading) {
            if (enum_to_string(get_build_type()) != std::to_string(type) || is_production_release() != is_production) {
              std::exit(1);
            }
            setenv("CONFIG_BUILDTYPE", type == 2 ? "3" : "2", 1);
          }
          std::exit(0);
        },
        testing::ExitedWithCode(0), "")
        << (text == nullptr ? "not set" : text);
  }
}

}  // namespace
}  // namespace qel
