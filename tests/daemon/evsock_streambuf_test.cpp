#include "qel/daemon/evsock_streambuf.h"

#include <qelevsock.h>

#include "tests/daemon/fixture.h"

namespace qel::daemon {
namespace {

class EvsockStreambufTest : public FakePlatformTest {
 protected:
  /// Opens it on a platform that itself buffers this many octets.
  void open(int platform_buffer) {
    set_result("evsock_getobufsize", platform_buffer);
    buffer = std::make_unique<evsock_streambuf>(
        evsock_add_fd(5, "out", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    take_calls();
  }
  std::unique_ptr<evsock_streambuf> buffer;
};

TEST_F(EvsockStreambufTest, BuffersAsMuchAsThePlatformUpTo512Octets) {
  open(4);
  std::ostream(buffer.get()) << "abcdef" << std::flush;
  EXPECT_THAT(take_calls(), ElementsAre("evsock_bwrite(abcd)", "evsock_bwrite(ef)"));
  open(200'000);
  std::ostream(buffer.get()) << std::string(512, 'x') << 'y' << std::flush;
  EXPECT_THAT(take_calls(), ElementsAre("evsock_bwrite(" + std::string(512, 'x') + ")", "evsock_bwrite(y)"));
}

TEST_F(EvsockStreambufTest, KeepsWhatWasNotWrittenAndEndsTheStreamWhenThePlatformIsFull) {
  open(8);
  std::ostream os(buffer.get());
  set_result("evsock_bwrite", 3);
  os << "abcdefghij";
  EXPECT_EQ(buffer->pubsync(), -1);
  set_result("evsock_bwrite", 0);
  os << "12345";
  EXPECT_TRUE(os.bad());
  set_result("evsock_bwrite", 100);
  EXPECT_EQ(buffer->pubsync(), 0);
  EXPECT_EQ(buffer->pubsync(), 0);
  EXPECT_THAT(take_calls(), ElementsAre("evsock_bwrite(abcdefgh)", "evsock_bwrite(defghij)", "evsock_bwrite(ghij1234)",
                                        "evsock_bwrite(ghij1234)"));
}

TEST_F(EvsockStreambufTest, FailuresThrowWithTheirNumber) {
  EXPECT_THAT([] { evsock_streambuf(nullptr); }, ThrowsMessage<std::invalid_argument>("received nullptr for evsock"));
  open(8);
  set_result("evsock_bwrite", -32);
  buffer->sputc('x');
  EXPECT_THAT([&] { buffer->pubsync(); }, ThrowsMessage<std::runtime_error>("evsock error: -32"));
}

}  // namespace
}  // namespace qel::daemon
