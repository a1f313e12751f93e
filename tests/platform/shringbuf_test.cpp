#include "platform/include/shringbuf.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>

#include "tests/platform/children.h"
#include "tests/platform/turns.h"

namespace {

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

  // Too long for the ring, and too long for the reader's buffer.
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
  ASSERT_EQ(lines.size(), 5u);  // the remaining part of the sixth is useless
  EXPECT_EQ(lines.front(), "15" + tail);

  const std::string short_name = unique_name("short");
  const Ring short_ring(shringbuf_init(short_name.c_str(), 4096));
  for (std::size_t i = 1; i <= 40; ++i) {
    shringbuf_add(short_ring.get(), "%d", 1);
    EXPECT_EQ(read_all(attach(short_name)).size(), std::min<std::size_t>(i, 16)) << i;
  }
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
        finished = shringbuf_writer_alive(reader.get()) == 0;  // then check once more
      }
    }
  });
  ASSERT_EQ(next_octet(ready[0]), 'r');
  for (unsigned i = 0; i < total; ++i) {
    shringbuf_add(ring.get(), "%s", line_of(i).c_str());
  }
  // The child has a copy of the writer's descriptor, so only the mark shows it the end.
  ring.reset();
  EXPECT_EQ(end_of(child), 0);
}

/// Starts a writer, and kills it after the action.
template <class Action>
void with_writer(const std::string& name, const Action& action) {
  const Pair written = Pair::pipe();
  const pid_t child = start_child([&] {
    shringbuf* ring = shringbuf_init(name.c_str(), 4096);
    shringbuf_add(ring, "line %d", 0);
    say(written[1], shringbuf_add(ring, "line %d", 1) == 0 ? 'w' : 'f');
    pause();
    return 2;
  });
  EXPECT_EQ(next_octet(written[0]), 'w');
  action();
  kill(child, SIGKILL);
  EXPECT_EQ(end_of(child), -SIGKILL);
}

TEST(ShringbufTest, ReadableAfterTheWriterWasKilled) {
  const std::string name = unique_name("killed");
  Reader reader;
  with_writer(name, [&] {
    reader = attach(name);
    EXPECT_EQ(shringbuf_writer_alive(reader.get()), 1);
    EXPECT_EQ(shringbuf_remove(name.c_str()), -EBUSY);
  });
  EXPECT_EQ(shringbuf_writer_alive(reader.get()), 0);
  EXPECT_THAT(read_all(reader), ElementsAre("line 0", "line 1"));

  // A new writer takes the name; a second one leaves it alone, and a reader of the old ring still has that.
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

/// A file in the folder of shared memory, removed with the object.
struct Object {
  std::string name;
  std::string path = "/dev/shm/" + name;

  int open_it() const { return open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644); }
  ~Object() { std::filesystem::remove(path); }
};

TEST(ShringbufTest, RefusesWhatIsNoRing) {
  EXPECT_EQ(shringbuf_init("small", 100), nullptr);
  EXPECT_EQ(shringbuf_init("large", (1 << 20) + 1), nullptr);
  const Object object{unique_name("garbage")};
  const int fd = object.open_it();
  for (const off_t size : {off_t{0}, off_t{10}, off_t{100000}, off_t{1} << 40}) {
    ASSERT_EQ(ftruncate(fd, size), 0);
    EXPECT_EQ(shringbuf_attach(object.name.c_str()), nullptr);
    EXPECT_EQ(errno, EPROTO);
    // Headers that claim more slots than there are, or than a ring may have.
    for (const std::uint32_t slots : {1u << 20, 1u << 31, 3u, 0u}) {
      const std::uint32_t header[] = {0x524c4551, 1, 256, slots, 5};
      ASSERT_EQ(pwrite(fd, header, sizeof header, 0), static_cast<ssize_t>(sizeof header));
      EXPECT_EQ(shringbuf_attach(object.name.c_str()), nullptr) << size << ' ' << slots;
    }
    ASSERT_EQ(ftruncate(fd, 0), 0);
  }
  close(fd);
}

TEST(ShringbufTest, WhateverBecomesOfTheMemoryReadingEndsSoon) {
  struct Damage {
    const char* what;
    off_t size;
    std::uint32_t sequence;  ///< of all slots; 0 leaves them
  };
  constexpr off_t SIZE = (1 << 20) + 64;
  for (const auto& [what, size, sequence] :
       {Damage{"nothing is left", 0, 0}, Damage{"half a slot is left", 64 + 100, 0}, Damage{"far ahead", SIZE, 1 << 30},
        Damage{"just ahead", SIZE, 4}, Damage{"behind", SIZE, 0x90000000}}) {
    const Object object{unique_name("damaged")};
    const Ring ring(shringbuf_init(object.name.c_str(), 1 << 20));
    ASSERT_TRUE(ring);
    shringbuf_add(ring.get(), "%s", std::string(1000, 'x').c_str());
    const Reader reader = attach(object.name);
    const int fd = object.open_it();
    for (off_t slot = 64; sequence != 0 && slot < size; slot += 256) {
      ASSERT_EQ(pwrite(fd, &sequence, sizeof sequence, slot), static_cast<ssize_t>(sizeof sequence));
    }
    // A copy of the ring is truncated, because the writer also maps the ring.
    std::vector<char> copy(SIZE);
    ASSERT_EQ(pread(fd, copy.data(), copy.size(), 0), SIZE);
    close(fd);
    const Object cut{unique_name("cut")};
    const int cut_fd = cut.open_it();
    ASSERT_EQ(write(cut_fd, copy.data(), copy.size()), SIZE);
    const Reader cut_reader = attach(cut.name);
    ASSERT_EQ(ftruncate(cut_fd, size), 0);
    close(cut_fd);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_LE(read_all(cut_reader).size(), 1u) << what;
    EXPECT_LE(read_all(reader).size(), 1u) << what;
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1)) << what;
    EXPECT_EQ(shringbuf_writer_alive(cut_reader.get()), 0);
  }
}

TEST(ShringbufTest, RemovesItsOwnRingOnly) {
  const std::string name = unique_name("second");
  Ring first(shringbuf_init(name.c_str(), 4096));
  ASSERT_EQ(shm_unlink(("/" + name).c_str()), 0);
  const Ring second(shringbuf_init(name.c_str(), 4096));
  shringbuf_add(second.get(), "second");
  first.reset();
  EXPECT_THAT(read_all(attach(name)), ElementsAre("second"));
}

TEST(ShringbufTest, TheRingsOfKilledLoopsWithoutANameDoNotPileUp) {
  const Object named{unique_name("app_x") + "_log"};
  with_writer(named.name, [] {});
  const auto nameless = [](int i) { return unique_name("app_") + std::to_string(i) + "_log"; };
  const Ring living(shringbuf_init(nameless(0).c_str(), 4096));
  for (int i = 1; i < 4; ++i) {
    with_writer(nameless(i), [] {});
  }
  const Ring last(shringbuf_init(nameless(4).c_str(), 4096));
  EXPECT_TRUE(attach(named.name)) << "somebody may come for it";
  EXPECT_TRUE(attach(nameless(0)));
  for (int i = 1; i < 4; ++i) {
    EXPECT_EQ(shringbuf_attach(nameless(i).c_str()), nullptr) << i;
  }
}

TEST(ShringbufTest, WhereAnotherUserHasTheNameTheRingIsPrivateAndSaysSo) {
  if (getuid() != 0) {
    GTEST_SKIP() << "needs root, to become others";
  }
  const auto as_user = [](uid_t user, const std::function<int()>& act) {
    return end_of(start_child([&] { return setuid(user) == 0 ? act() : 2; }));
  };
  const struct {
    const char* what;
    std::function<int(const char*)> squat;
    int attach_error;
  } squatters[] = {{"a ring", [](const char* path) { return shringbuf_init(path + 9, 4096) == nullptr; }, 0},
                   {"a pipe", [](const char* path) { return mkfifo(path, 0644); }, EPROTO},
                   {"a secret", [](const char* path) { return open(path, O_CREAT | O_WRONLY, 0000) < 0; }, EPROTO},
                   {"a link", [](const char* path) { return symlink("/etc/passwd", path); }, ELOOP}};
  for (const auto& squatter : squatters) {
    const char* const what = squatter.what;
    const Object object{unique_name("squatted")};
    ASSERT_EQ(as_user(65534, [&] { return squatter.squat(object.path.c_str()); }), 0) << what;
    const Reader reader(shringbuf_attach(object.name.c_str()));
    EXPECT_EQ(reader ? 0 : errno, squatter.attach_error) << what;
    const Pair messages = Pair::sockets();
    EXPECT_EQ(as_user(1,
                      [&] {
                        dup2(messages[1], STDERR_FILENO);
                        const Ring ring(shringbuf_init(object.name.c_str(), 4096));
                        return ring && shringbuf_add(ring.get(), "works") == 0 ? 0 : 3;
                      }),
              0)
        << what;
    char said[256] = "";
    EXPECT_GT(recv(messages[0], said, sizeof said - 1, MSG_DONTWAIT), 0) << what;
    EXPECT_EQ(said, "ERROR: the log ring \"" + object.name + "\" cannot be read: its name belongs to the user 65534\n")
        << what;
    EXPECT_TRUE(std::filesystem::exists(std::filesystem::symlink_status(object.path))) << what;
  }
}

}  // namespace
