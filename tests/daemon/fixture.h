#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qel/daemon/log.h"
#include "tests/fake_platform/fake_platform.h"

namespace qel {

/// A recording platform for each test; no log ring outlives it.
class FakePlatformTest : public testing::Test {
 protected:
  FakePlatformTest() { fake_platform::reset(); }
  ~FakePlatformTest() override { debug::set_shringbuf(nullptr); }
};

}  // namespace qel
