#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <new>

#include "export.h"
#include "ring_layout.h"
#include "shringbuf.h"

using namespace qel::platform;

struct shringbuf_reader {
  const RingHeader* header;
  std::size_t size;
  std::uint32_t slots;  ///< as checked when attached
  std::uint32_t next_part;
  int fd;
};

namespace {

struct Part {
  std::size_t length;
  bool goes_on;
  bool gone_on;
  std::int64_t time;
  char text[kTextOctets];
};

enum class Copy { DONE, NOT_YET, OVERWRITTEN };

// Copies part `number`. The sequence tells before and after the copy whether the slot held it all the time.
Copy copy_part(const shringbuf_reader& reader, std::uint32_t number, Part& part) {
  const RingSlot& slot = reader.header->slot_of(number, reader.slots);
  const std::uint32_t complete = 2 * number + 2;
  const std::uint32_t before = slot.sequence.load(std::memory_order_acquire);
  if (before != complete) {
    return static_cast<std::int32_t>(before - complete) < 0 ? Copy::NOT_YET : Copy::OVERWRITTEN;
  }
  const std::uint32_t length = slot.length.load(std::memory_order_relaxed);
  part.goes_on = (length & kGoesOn) != 0;
  part.gone_on = (length & kGoneOn) != 0;
  part.length = std::min<std::size_t>(length & kLengthMask, kTextOctets);
  part.time = static_cast<std::int64_t>(std::uint64_t{slot.time_high.load(std::memory_order_relaxed)} << 32 |
                                        slot.time_low.load(std::memory_order_relaxed));
  for (std::size_t done = 0; done < part.length; done += 4) {
    const std::uint32_t word = slot.text[done / 4].load(std::memory_order_relaxed);
    std::memcpy(part.text + done, &word, std::min<std::size_t>(4, part.length - done));
  }
  std::atomic_thread_fence(std::memory_order_acquire);
  return slot.sequence.load(std::memory_order_relaxed) == complete ? Copy::DONE : Copy::OVERWRITTEN;
}

std::uint32_t oldest_part(const shringbuf_reader& reader) {
  const std::uint32_t next = reader.header->next_part.load(std::memory_order_acquire);
  // In the first round, the last slot is still empty.
  const bool full =
      next >= reader.slots ||
      reader.header->slot_of(reader.slots - 1, reader.slots).sequence.load(std::memory_order_acquire) != 0;
  return full ? (next - reader.slots) & kPartMask : 0;
}

// Goes on at the oldest part, but beyond the present one, which is known to be gone. Returns how many were left out.
std::uint32_t catch_up(shringbuf_reader& reader) {
  std::uint32_t skipped = (oldest_part(reader) - reader.next_part) & kPartMask;
  if (skipped == 0 || skipped > kPartMask / 2) {
    skipped = 1;
  }
  reader.next_part = (reader.next_part + skipped) & kPartMask;
  return skipped;
}

}  // namespace

extern "C" {

QEL_EXPORT shringbuf_reader* shringbuf_attach(const char* name) {
  if (name == nullptr) {
    errno = EINVAL;
    return nullptr;
  }
  try {
    const int fd = shm_open(object_name(name).c_str(), O_RDONLY | O_CLOEXEC, 0);
    if (fd < 0) {
      return nullptr;
    }
    struct stat status;
    void* memory = MAP_FAILED;
    std::size_t size = 0;
    if (fstat(fd, &status) == 0 && status.st_size >= static_cast<off_t>(sizeof(RingHeader) + sizeof(RingSlot))) {
      size = static_cast<std::size_t>(status.st_size);
      memory = mmap(nullptr, size, PROT_READ, MAP_SHARED, fd, 0);
    }
    if (memory != MAP_FAILED) {
      const auto* header = static_cast<const RingHeader*>(memory);
      const std::uint32_t slots = header->slots.load();
      if (header->magic.load() == kRingMagic && header->version.load() == kRingVersion &&
          header->slot_size.load() == sizeof(RingSlot) && std::has_single_bit(slots) &&
          slots <= (size - sizeof(RingHeader)) / sizeof(RingSlot)) {
        auto* reader = new shringbuf_reader{header, size, slots, 0, fd};
        reader->next_part = oldest_part(*reader);
        return reader;
      }
      munmap(memory, size);
    }
    close(fd);
    errno = EPROTO;
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
  }
  return nullptr;
}

QEL_EXPORT void shringbuf_detach(shringbuf_reader* reader) {
  if (reader != nullptr) {
    munmap(const_cast<RingHeader*>(reader->header), reader->size);
    close(reader->fd);
    delete reader;
  }
}

QEL_EXPORT int shringbuf_read(shringbuf_reader* reader, char* text, size_t size, int64_t* time, uint32_t* lost) {
  std::uint32_t lost_parts = 0;
  int result = -1;
  while (result < 0) {
    Part part;
    std::uint32_t number = reader->next_part;
    std::size_t filled = 0;
    Copy copy = copy_part(*reader, number, part);
    if (copy == Copy::DONE && part.gone_on) {
      // The beginning of this line was overwritten.
      reader->next_part = (number + 1) & kPartMask;
      ++lost_parts;
      continue;
    }
    while (copy == Copy::DONE) {
      const std::size_t taken = std::min(part.length, size > 0 ? size - 1 - filled : 0);
      std::memcpy(text + filled, part.text, taken);
      filled += taken;
      number = (number + 1) & kPartMask;
      if (!part.goes_on) {
        break;
      }
      copy = copy_part(*reader, number, part);
    }
    if (copy == Copy::OVERWRITTEN) {
      lost_parts += catch_up(*reader);
      continue;
    }
    result = copy == Copy::DONE ? 1 : 0;
    if (result == 1) {
      reader->next_part = number;
      if (size > 0) {
        text[filled] = '\0';
      }
      if (time != nullptr) {
        *time = part.time;
      }
    }
  }
  if (lost != nullptr) {
    *lost = lost_parts;
  }
  return result;
}

QEL_EXPORT int shringbuf_writer_alive(const shringbuf_reader* reader) {
  return reader->header->finished.load(std::memory_order_acquire) == 0 && has_writer(reader->fd) ? 1 : 0;
}

QEL_EXPORT int shringbuf_remove(const char* name) {
  if (name == nullptr) {
    return -EINVAL;
  }
  try {
    const std::string object = object_name(name);
    const int fd = shm_open(object.c_str(), O_RDONLY | O_CLOEXEC, 0);
    if (fd < 0) {
      return -errno;
    }
    int result = -EBUSY;
    if (!has_writer(fd)) {
      result = shm_unlink(object.c_str()) == 0 ? 0 : -errno;
    }
    close(fd);
    return result;
  } catch (const std::bad_alloc&) {
    return -ENOMEM;
  }
}

}  // extern "C"
