#include "qel/daemon/evsock_streambuf.h"

#include <ostream>
#include <stdexcept>

#include "tests/daemon/fixture.h"

namespace qel::daemon {
namespace {

using fake_platform::set_result;
using fake_platform::set_write_limit;
using fake_platform::take_calls;
using fake_platform::written;
using testing::ElementsAre;
using testing::ThrowsMessage;

class EvsockStreambufTest : public FakePlatformTest {
 protected:
  /// What one write of many octets is cut into.
  static std::vector<std::string> writes_of(int platform_buffer, std::size_t octets) {
    fake_platform::reset();
    set_result("evsock_getobufsize", platform_buffer);
    evsock_streambuf buffer(fake_platform::make_evsock());
    take_calls();
    std::ostream(&buffer) << std::string(octets, 'x') << std::flush;
    EXPECT_EQ(written().size(), octets);
    return take_calls();
  }
};

TEST_F(EvsockStreambufTest, BuffersAsMuchAsThePlatformUpTo512Octets) {
  EXPECT_THAT(writes_of(4, 6), ElementsAre("evsock_bwrite(4)", "evsock_bwrite(2)"));
  EXPECT_THAT(writes_of(200'000, 513), ElementsAre("evsock_bwrite(512)", "evsock_bwrite(1)"));
}

TEST_F(EvsockStreambufTest, KeepsWhatWasNotWrittenAndEndsTheStreamWhenThePlatformIsFull) {
  set_result("evsock_getobufsize", 8);
  evsock_streambuf buffer(fake_platform::make_evsock());
  std::ostream os(&buffer);
  set_write_limit(3);
  os << "abcdefgh";
  os << "ij";
  EXPECT_EQ(written(), "abc");
  EXPECT_EQ(buffer.pubsync(), -1);
  EXPECT_EQ(written(), "abcdef");
  set_write_limit(100);
  EXPECT_EQ(buffer.pubsync(), 0);
  EXPECT_EQ(written(), "abcdefghij");
  take_calls();
  EXPECT_EQ(buffer.pubsync(), 0);
  EXPECT_THAT(take_calls(), testing::IsEmpty());

  set_write_limit(0);
  os << "123456789";
  EXPECT_TRUE(os.bad());
  set_write_limit(100);
  os.clear();
  os << '9' << std::flush;
  EXPECT_EQ(written(), "abcdefghij123456789");
}

TEST_F(EvsockStreambufTest, FailuresThrowWithTheirNumber) {
  EXPECT_THAT([] { evsock_streambuf(nullptr); }, ThrowsMessage<std::invalid_argument>("received nullptr for evsock"));
  evsock_streambuf buffer(fake_platform::make_evsock());
  set_result("evsock_bwrite", -32);
  buffer.sputc('x');
  EXPECT_THAT([&] { buffer.pubsync(); }, ThrowsMessage<std::runtime_error>("evsock error: -32"));
}

}  // namespace
}  // namespace qel::daemon
