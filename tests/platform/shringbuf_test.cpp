#include "platform/include/shringbuf.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <time.h>

#include <cerrno>
#include <memory>
#include <vector>

#include "tests/platform/children.h"
#include "tests/platform/turns.h"

namespace {

using testing::ElementsAre;

struct Free {
  void operator()(shringbuf* ring) const { shringbuf_deinit(ring); }
  void operator()(shringbuf_reader* reader) const { shringbuf_detach(reader); }
};
using Ring = std::unique_ptr<shringbuf, Free>;
using Reader = std::unique_ptr<shringbuf_reader, Free>;

Reader attach(const std::string& name) {
  Reader reader(shringbuf_attach(name.c_str()));
  EXPECT_NE(reader, nullptr) << strerror(errno);
  return reader;
}

std::vector<std::string> read_all(const Reader& reader) {
  std::vector<std::string> lines;
  char text[8192];
  while (shringbuf_read(reader.get(), text, sizeof text, nullptr, nullptr) == 1) {
    lines.emplace_back(text);
  }
  return lines;
}

TEST(ShringbufTest, LinesComeOutAsTheyWentIn) {
  const std::string name = unique_name("ring/with%odd name");
  const Ring ring(shringbuf_init(name.c_str(), 16384));
  const Reader reader = attach(name);
  shringbuf_add(ring.get(), "%s: %d", "one", 1);
  std::int64_t time = 0;
  char text[64];
  ASSERT_EQ(shringbuf_read(reader.get(), text, sizeof text, &time, nullptr), 1);
  EXPECT_STREQ(text, "one: 1");
  EXPECT_NEAR(static_cast<double>(time) * 1e-6, static_cast<double>(::time(nullptr)), 60);
  const std::vector<std::string> lines = {"", std::string(240, 'e'), std::string(241, 'l') + "!",
                                          std::string(4000, 'v') + "\n."};
  for (const std::string& line : lines) {
    ASSERT_EQ(shringbuf_add(ring.get(), "%s", line.c_str()), 0);
  }
  EXPECT_EQ(read_all(reader), lines);

  // Too long for the ring, and too long for the reader's memory.
  ASSERT_EQ(shringbuf_add(ring.get(), "%s", std::string(100000, 'x').c_str()), 0);
  ASSERT_EQ(shringbuf_read(reader.get(), text, 10, nullptr, nullptr), 1);
  EXPECT_STREQ(text, "xxxxxxxxx");
  EXPECT_EQ(read_all(attach(name)).back(), std::string(32 * 240, 'x'));
}

TEST(ShringbufTest, TheOldestLinesMakeRoomAndAreCounted) {
  const std::string name = unique_name("overrun");
  const Ring ring(shringbuf_init(name.c_str(), 4096));  // 16 parts
  const Reader reader = attach(name);
  const std::string tail(500, '.');
  for (int i = 0; i < 20; ++i) {
    shringbuf_add(ring.get(), "%d%s", i, tail.c_str());  // 3 parts each
  }
  std::uint32_t lost = 0;
  char text[10];
  ASSERT_EQ(shringbuf_read(reader.get(), text, sizeof text, nullptr, &lost), 1);
  EXPECT_EQ(lost, 45u);
  const auto lines = read_all(attach(name));
  ASSERT_EQ(lines.size(), 5u);  // the part of the sixth that is left is worth nothing
  EXPECT_EQ(lines.front(), "15" + tail);
}

TEST(ShringbufTest, AnotherProcessReadsWhileTheRingIsWritten) {
  const std::string name = unique_name("concurrent");
  const auto line_of = [](unsigned i) { return std::to_string(i) + ":" + std::string(i % 600, char('a' + i % 26)); };
  const auto parts_of = [&](unsigned i) { return (line_of(i).size() + 239) / 240; };
  constexpr unsigned total = 200000;
  std::size_t parts_written = 0;
  for (unsigned i = 0; i < total; ++i) {
    parts_written += parts_of(i);
  }
  Pair ready = Pair::pipe();
  Ring ring(shringbuf_init(name.c_str(), 16384));
  const pid_t child = start_child([&] {
    ring.release();  // the parent's
    const Reader reader = attach(name);
    say(ready[1], 'r');
    std::size_t parts = 0;  // read or lost
    std::int64_t last = -1;
    for (bool finished = false;;) {
      char text[1024];
      std::uint32_t lost = 0;
      const int result = shringbuf_read(reader.get(), text, sizeof text, nullptr, &lost);
      parts += lost;
      if (result == 1) {
        const auto number = static_cast<unsigned>(std::stoul(text));
        if (text != line_of(number) || number <= last) {
          return 3;
        }
        last = number;
        parts += parts_of(number);
      } else if (finished) {
        return parts == parts_written && last == total - 1 ? 0 : 4;
      } else {
        finished = shringbuf_writer_alive(reader.get()) == 0;  // and then look once more
      }
    }
  });
  ASSERT_EQ(next_octet(ready[0]), 'r');
  for (unsigned i = 0; i < total; ++i) {
    shringbuf_add(ring.get(), "%s", line_of(i).c_str());
  }
  // The child has a copy of the writer's descriptor, so that only the mark tells it the end.
  ring.reset();
  EXPECT_EQ(end_of(child), 0);
}

TEST(ShringbufTest, ReadableAfterTheWriterWasKilled) {
  const std::string name = unique_name("killed");
  Pair written = Pair::pipe();
  const pid_t child = start_child([&] {
    shringbuf* ring = shringbuf_init(name.c_str(), 4096);
    shringbuf_add(ring, "line %d", 0);
    shringbuf_add(ring, "line %d", 1);
    say(written[1], 'w');
    pause();
    return 2;
  });
  ASSERT_EQ(next_octet(written[0]), 'w');
  const Reader reader = attach(name);
  EXPECT_EQ(shringbuf_writer_alive(reader.get()), 1);
  EXPECT_EQ(shringbuf_remove(name.c_str()), -EBUSY);
  kill(child, SIGKILL);
  EXPECT_EQ(end_of(child), -SIGKILL);
  EXPECT_EQ(shringbuf_writer_alive(reader.get()), 0);
  EXPECT_THAT(read_all(reader), ElementsAre("line 0", "line 1"));

  // A new writer takes the name; a second one leaves it alone, and who read the old ring still has that.
  {
    const Ring ring(shringbuf_init(name.c_str(), 4096));
    shringbuf_add(ring.get(), "new");
    EXPECT_EQ(end_of(start_child([&] { return shringbuf_add(shringbuf_init(name.c_str(), 4096), "second"); })), 0);
    EXPECT_THAT(read_all(attach(name)), ElementsAre("new"));
    EXPECT_THAT(read_all(reader), ElementsAre());
  }
  EXPECT_EQ(shringbuf_attach(name.c_str()), nullptr);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(shringbuf_remove(name.c_str()), -ENOENT);
}

TEST(ShringbufTest, RefusesWhatIsNoRing) {
  EXPECT_EQ(shringbuf_init("small", 100), nullptr);
  const std::string name = unique_name("garbage");
  const int fd = shm_open(("/" + name).c_str(), O_RDWR | O_CREAT, 0600);
  ASSERT_GE(fd, 0);
  for (const off_t size : {off_t{0}, off_t{10}, off_t{100000}}) {
    ASSERT_EQ(ftruncate(fd, size), 0);
    EXPECT_EQ(shringbuf_attach(name.c_str()), nullptr);
    EXPECT_EQ(errno, EPROTO);
  }
  // A header that promises more slots than there are.
  const std::uint32_t header[] = {0x524c4551, 1, 256, 1u << 20, 5};
  ASSERT_EQ(pwrite(fd, header, sizeof header, 0), static_cast<ssize_t>(sizeof header));
  EXPECT_EQ(shringbuf_attach(name.c_str()), nullptr);
  close(fd);
  shm_unlink(("/" + name).c_str());
}

}  // namespace
