#include <fcntl.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

#include "export.h"
#include "ring_layout.h"
#include "shringbuf.h"

using namespace qel::platform;

struct shringbuf {
  RingHeader* header;
  std::size_t size;
  std::uint32_t slots;
  std::uint32_t next_part;
  int fd;            ///< holds the claim on the object
  std::string name;  ///< of the object; empty when private
};

namespace {

void close_keeping_errno(int fd) {
  const int error = errno;
  close(fd);
  errno = error;
}

// Frees the name from what a dead writer left there. False when a living writer has it.
bool clear_name(const std::string& name) {
  const int fd = shm_open(name.c_str(), O_RDWR | O_CLOEXEC, 0);
  if (fd < 0) {
    return errno == ENOENT;
  }
  const bool dead = !has_writer(fd);
  if (dead) {
    shm_unlink(name.c_str());
  }
  close(fd);
  return dead;
}

// Creates the object under the name, or without a name when a living writer has it; `name` is then emptied.
int create_object(std::string& name, std::size_t size) {
  int fd = -1;
  if (clear_name(name)) {
    fd = shm_open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0640);
    if (fd < 0 && errno != EEXIST) {
      return -1;
    }
  }
  if (fd < 0) {
    name.clear();
    fd = memfd_create("shringbuf", MFD_CLOEXEC);
  }
  if (fd < 0) {
    return -1;
  }
  // posix_fallocate: a full /dev/shm is to fail here, and not to kill the writer later.
  int error = claim(fd) ? 0 : errno;
  if (error == 0) {
    error = posix_fallocate(fd, 0, static_cast<off_t>(size));
  }
  if (error != 0) {
    if (!name.empty()) {
      shm_unlink(name.c_str());
    }
    close(fd);
    errno = error;
    return -1;
  }
  return fd;
}

void write_part(shringbuf& ring, std::string_view text, std::uint32_t flags, std::int64_t time) {
  const std::uint32_t part = ring.next_part;
  RingSlot& slot = ring.header->slot_of(part);
  slot.sequence.store(2 * part + 1, std::memory_order_relaxed);
  std::atomic_thread_fence(std::memory_order_release);
  slot.length.store(static_cast<std::uint32_t>(text.size()) | flags, std::memory_order_relaxed);
  slot.time_low.store(static_cast<std::uint32_t>(time & 0xffffffff), std::memory_order_relaxed);
  slot.time_high.store(static_cast<std::uint32_t>(time >> 32), std::memory_order_relaxed);
  for (std::size_t done = 0; done < text.size(); done += 4) {
    std::uint32_t word = 0;
    std::memcpy(&word, text.data() + done, std::min<std::size_t>(4, text.size() - done));
    slot.text[done / 4].store(word, std::memory_order_relaxed);
  }
  slot.sequence.store(2 * part + 2, std::memory_order_release);
  ring.next_part = (part + 1) & kPartMask;
  ring.header->next_part.store(ring.next_part, std::memory_order_release);
}

void write_line(shringbuf& ring, std::string_view line) {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  const std::int64_t time = std::int64_t{now.tv_sec} * 1000000 + now.tv_nsec / 1000;
  line = line.substr(0, kTextOctets * (ring.slots / 2));
  for (std::uint32_t flags = 0;; flags = kGoneOn) {
    const std::string_view text = line.substr(0, kTextOctets);
    line.remove_prefix(text.size());
    if (line.empty()) {
      write_part(ring, text, flags, time);
      return;
    }
    write_part(ring, text, flags | kGoesOn, time);
  }
}

}  // namespace

extern "C" {

QEL_EXPORT shringbuf* shringbuf_init(const char* name, size_t size) {
  if (name == nullptr || size < 4096 || size > 1u << 30) {
    errno = EINVAL;
    return nullptr;
  }
  try {
    const auto slots = static_cast<std::uint32_t>(std::bit_floor(size / sizeof(RingSlot)));
    const std::size_t total = sizeof(RingHeader) + slots * sizeof(RingSlot);
    std::string object = object_name(name);
    const int fd = create_object(object, total);
    if (fd < 0) {
      return nullptr;
    }
    void* memory = mmap(nullptr, total, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (memory == MAP_FAILED) {
      close_keeping_errno(fd);
      return nullptr;
    }
    auto* header = new (memory) RingHeader{};
    header->version.store(kRingVersion);
    header->slot_size.store(sizeof(RingSlot));
    header->slots.store(slots);
    header->magic.store(kRingMagic);  // last: before it, readers see no ring
    return new shringbuf{header, total, slots, 0, fd, std::move(object)};
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return nullptr;
  }
}

QEL_EXPORT void shringbuf_deinit(shringbuf* ring) {
  if (ring == nullptr) {
    return;
  }
  ring->header->finished.store(1, std::memory_order_release);
  if (!ring->name.empty()) {
    shm_unlink(ring->name.c_str());
  }
  munmap(ring->header, ring->size);
  close(ring->fd);
  delete ring;
}

QEL_EXPORT int shringbuf_add(shringbuf* ring, const char* format, ...) {
  va_list values;
  va_start(values, format);
  char small[1024];
  const int length = vsnprintf(small, sizeof small, format, values);
  va_end(values);
  if (length < 0) {
    return -1;
  }
  const auto octets = static_cast<std::size_t>(length);
  if (octets < sizeof small) {
    write_line(*ring, {small, octets});
    return 0;
  }
  try {
    std::string large(octets, '\0');
    va_start(values, format);
    vsnprintf(large.data(), octets + 1, format, values);
    va_end(values);
    write_line(*ring, large);
  } catch (const std::bad_alloc&) {
    return -1;
  }
  return 0;
}

}  // extern "C"
