#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cerrno>
#include <cstring>
#include <new>

#include "platform/linux/export.h"
#include "platform/linux/ring_layout.h"
#include "shringbuf.h"

using namespace qel::platform;

struct shringbuf_reader {
  int fd;
  std::uint32_t slots;  ///< as checked when attaching
  std::uint32_t next_part = 0;
};

namespace {

// Mapped memory could be truncated under the reader, which would then die of a SIGBUS, so everything is read.
template <class Value>
bool read_at(int fd, std::size_t offset, Value& value) {
  return pread(fd, &value, sizeof value, static_cast<off_t>(offset)) == static_cast<ssize_t>(sizeof value);
}

std::size_t offset_of(const shringbuf_reader& reader, std::uint32_t part) {
  return sizeof(RingHeader) + (part & (reader.slots - 1)) * sizeof(RingSlot);
}

// The sequence of the slot that a part belongs to; that of an empty slot if the memory is gone.
std::uint32_t sequence_for(const shringbuf_reader& reader, std::uint32_t part) {
  std::uint32_t sequence = 0;
  return read_at(reader.fd, offset_of(reader, part), sequence) ? sequence : 0;
}

struct Part {
  std::size_t length;
  bool goes_on;
  bool gone_on;
  std::int64_t time;
  RingSlotCopy slot;
};

enum class Copy { DONE, NOT_YET, OVERWRITTEN };

// Copies part `number`. The sequence before and after the copy shows whether the slot held it all the time.
Copy copy_part(const shringbuf_reader& reader, std::uint32_t number, Part& part) {
  const std::uint32_t complete = 2 * number + 2;
  const std::uint32_t before = sequence_for(reader, number);
  std::atomic_thread_fence(std::memory_order_acquire);
  if (before != complete) {
    return static_cast<std::int32_t>(before - complete) < 0 ? Copy::NOT_YET : Copy::OVERWRITTEN;
  }
  if (!read_at(reader.fd, offset_of(reader, number), part.slot)) {
    return Copy::NOT_YET;
  }
  std::atomic_thread_fence(std::memory_order_acquire);
  part.goes_on = (part.slot.length & GOES_ON) != 0;
  part.gone_on = (part.slot.length & GONE_ON) != 0;
  part.length = std::min<std::size_t>(part.slot.length & LENGTH_MASK, TEXT_OCTETS);
  part.time = static_cast<std::int64_t>(std::uint64_t{part.slot.time_high} << 32 | part.slot.time_low);
  return sequence_for(reader, number) == complete ? Copy::DONE : Copy::OVERWRITTEN;
}

std::uint32_t oldest_part(const shringbuf_reader& reader) {
  RingHeaderCopy header = {};
  read_at(reader.fd, 0, header);
  std::atomic_thread_fence(std::memory_order_acquire);
  // In the first round, the last slot is still empty.
  const bool full = header.next_part >= reader.slots || sequence_for(reader, reader.slots - 1) != 0;
  return full ? (header.next_part - reader.slots) & PART_MASK : 0;
}

// Continues at the oldest part, but after the current one, which is known to be gone. Returns the number of skipped
// parts.
std::uint32_t catch_up(shringbuf_reader& reader) {
  std::uint32_t skipped = (oldest_part(reader) - reader.next_part) & PART_MASK;
  if (skipped == 0 || skipped > PART_MASK / 2) {
    skipped = 1;
  }
  reader.next_part = (reader.next_part + skipped) & PART_MASK;
  return skipped;
}

// Copies the header if the object may be a ring.
bool is_ring(int fd, RingHeaderCopy& header) {
  struct stat status;
  return fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && read_at(fd, 0, header) && header.magic == RING_MAGIC &&
         header.version == RING_VERSION && header.slot_size == sizeof(RingSlot) && std::has_single_bit(header.slots) &&
         header.slots <= SLOTS_MAX &&
         status.st_size >= static_cast<off_t>(sizeof(RingHeader) + header.slots * sizeof(RingSlot));
}

}  // namespace

extern "C" {

QEL_EXPORT shringbuf_reader* shringbuf_attach(const char* name) {
  if (name == nullptr) {
    errno = EINVAL;
    return nullptr;
  }
  try {
    const int fd = open_object(object_name(name), O_RDONLY);
    if (fd < 0) {
      return nullptr;
    }
    int error = EPROTO;
    if (RingHeaderCopy header; is_ring(fd, header)) {
      auto* reader = new (std::nothrow) shringbuf_reader{fd, header.slots};
      if (reader != nullptr) {
        reader->next_part = oldest_part(*reader);
        return reader;
      }
      error = ENOMEM;
    }
    close(fd);
    errno = error;
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
  }
  return nullptr;
}

QEL_EXPORT void shringbuf_detach(shringbuf_reader* reader) {
  if (reader != nullptr) {
    close(reader->fd);
    delete reader;
  }
}

QEL_EXPORT int shringbuf_owner(const shringbuf_reader* reader, uid_t* user, gid_t* group) {
  struct stat status;
  if (fstat(reader->fd, &status) != 0) {
    return -errno;
  }
  *user = status.st_uid;
  *group = status.st_gid;
  return 0;
}

QEL_EXPORT int shringbuf_read(shringbuf_reader* reader, char* text, size_t size, int64_t* time, uint32_t* lost) {
  std::uint32_t lost_parts = 0;
  int result = -1;
  // A well-formed ring takes fewer steps, even if its writer overtakes the reader.
  std::uint32_t steps = 4 * reader->slots;
  Part part;
  const auto copy_next = [&](std::uint32_t number) {
    return steps-- > 0 ? copy_part(*reader, number, part) : Copy::NOT_YET;
  };
  while (result < 0) {
    std::uint32_t number = reader->next_part;
    std::size_t filled = 0;
    Copy copy = copy_next(number);
    if (copy == Copy::DONE && part.gone_on) {
      // The beginning of this line was overwritten.
      reader->next_part = (number + 1) & PART_MASK;
      ++lost_parts;
      continue;
    }
    while (copy == Copy::DONE) {
      const std::size_t taken = std::min(part.length, size > 0 ? size - 1 - filled : 0);
      std::memcpy(text + filled, part.slot.text, taken);
      filled += taken;
      number = (number + 1) & PART_MASK;
      if (!part.goes_on) {
        break;
      }
      copy = copy_next(number);
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
  RingHeaderCopy header = {};
  return read_at(reader->fd, 0, header) && header.finished == 0 && has_writer(reader->fd) ? 1 : 0;
}

QEL_EXPORT int shringbuf_remove(const char* name) {
  if (name == nullptr) {
    return -EINVAL;
  }
  try {
    const std::string object = object_name(name);
    const int fd = open_object(object, O_RDONLY);
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
