#pragma once

#include "qel/daemon/log.h"
#include "tests/fake_platform/fake_platform.h"
#include "tests/support/testing.h"

namespace qel {

// Names used by nearly every test on the fake platform.
using namespace std::chrono_literals;
using fake_platform::advance_microseconds;
using fake_platform::set_result;
using fake_platform::take_calls;

/// Provides a fresh recording platform for each test; no log ring outlives it.
class FakePlatformTest : public testing::Test {
 protected:
  FakePlatformTest() { fake_platform::reset(); }
  ~FakePlatformTest() override { debug::set_shringbuf(nullptr); }
};

}  // namespace qel
