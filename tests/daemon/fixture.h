#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "qel/daemon/log.h"
#include "tests/fake_platform/fake_platform.h"

namespace qel {

// Names used by nearly every test on the fake platform.
using namespace std::chrono_literals;
using fake_platform::advance_microseconds;
using fake_platform::set_result;
using fake_platform::take_calls;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::ThrowsMessage;

/// Provides a fresh recording platform for each test; no log ring outlives it.
class FakePlatformTest : public testing::Test {
 protected:
  FakePlatformTest() { fake_platform::reset(); }
  ~FakePlatformTest() override { debug::set_shringbuf(nullptr); }
};

}  // namespace qel
