#include "tools/meshctl/printable.h"

#include <gtest/gtest.h>

namespace meshctl {
namespace {

using namespace std::string_view_literals;

TEST(Printable, ShowsControlCharactersAndKeepsText) {
  EXPECT_EQ(printable("\x1b[2J\0\x7f\r\xC2\x9B\xC3\xBC ~"sv), "\\x1b[2J\\x00\\x7f\\x0d\\xc2\\x9b\xC3\xBC ~");
  EXPECT_EQ(printable("a\tb\n"sv), "a\\x09b\\x0a");
  EXPECT_EQ(printable("a\tb\n\b"sv, true), "a\tb\n\\x08");
  EXPECT_EQ(printable("\xC2"sv), "\xC2") << "a letter cut short";
}

}  // namespace
}  // namespace meshctl
