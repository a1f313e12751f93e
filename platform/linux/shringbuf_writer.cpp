#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "platform/linux/export.h"
#include "platform/linux/ring_layout.h"
#include "qellog.h"
#include "shringbuf.h"

using namespace qel::platform;

constexpr char FOLDER[] = "/dev/shm";  // used by the C library's shm_open()

struct shringbuf {
  RingHeader* header;
  std::size_t size;
  std::uint32_t slots;
  std::uint32_t next_part;
  int fd;            ///< holds the lock on the object
  std::string name;  ///< of the object; empty if private
};

namespace {

// Removes an object of this name left by a dead writer. Returns 0, or the reason why the name cannot be used: EBUSY if
// its writer is alive.
int clear_name(const std::string& name) {
  const int fd = open_object(name, O_RDONLY);
  if (fd < 0 && errno == ENOENT) {
    return 0;
  }
  const bool alive = fd >= 0 && has_writer(fd);
  if (fd >= 0) {
    close(fd);
  }
  if (alive) {
    return EBUSY;
  }
  return shm_unlink(name.c_str()) == 0 || errno == ENOENT ? 0 : errno;
}

void tell_why_private(const char* ring_name, const std::string& name, int error) {
  struct stat status;
  if (lstat((FOLDER + name).c_str(), &status) == 0 && status.st_uid != geteuid()) {
    errmsg("the log ring \"%s\" cannot be read: its name belongs to the user %u", ring_name, unsigned{status.st_uid});
  } else {
    errmsg("the log ring \"%s\" cannot be read: %s", ring_name,
           error == EBUSY ? "another process has one of that name" : strerror(error));
  }
}

// Removes a new object and sets errno to `error`.
void give_up(int fd, const std::string& name, int error) {
  if (!name.empty()) {
    shm_unlink(name.c_str());
  }
  close(fd);
  errno = error;
}

// Creates the object under the name, or without a name if that is not available; `name` is then cleared.
int create_object(const char* ring_name, std::string& name, std::size_t size) {
  int error = clear_name(name);
  int fd = -1;
  if (error == 0) {
    fd = shm_open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0640);
    error = fd < 0 ? errno : 0;
    if (error != 0 && error != EEXIST) {
      return -1;
    }
  }
  if (fd < 0) {
    tell_why_private(ring_name, name, error);
    name.clear();
    fd = memfd_create("shringbuf", MFD_CLOEXEC);
  }
  if (fd < 0) {
    return -1;
  }
  // posix_fallocate makes a full /dev/shm fail here rather than kill the writer later.
  error = claim(fd) ? 0 : errno;
  if (error == 0) {
    error = posix_fallocate(fd, 0, static_cast<off_t>(size));
  }
  if (error != 0) {
    give_up(fd, name, error);
    return -1;
  }
  return fd;
}

// A loop without a name has a different number each time, so nobody else would remove the ring that a killed one left.
bool is_of_nameless_loop(std::string_view file) {
  constexpr std::string_view START = "app_", END = "_log";
  if (file.size() <= START.size() + END.size() || !file.starts_with(START) || !file.ends_with(END)) {
    return false;
  }
  file = file.substr(START.size(), file.size() - START.size() - END.size());
  return file.find_first_not_of("0123456789") == std::string_view::npos;
}

// True if its creation was completed: a ring without its mark may still be under construction.
bool is_left_ring(int fd) {
  std::uint32_t magic = 0;
  struct stat status;
  return fstat(fd, &status) == 0 && status.st_uid == geteuid() && pread(fd, &magic, sizeof magic, 0) == sizeof magic &&
         magic == RING_MAGIC && !has_writer(fd);
}

void remove_left_by_nameless_loops() {
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(FOLDER), closedir);
  while (const dirent* file = folder != nullptr ? readdir(folder.get()) : nullptr) {
    if (!is_of_nameless_loop(file->d_name)) {
      continue;
    }
    const std::string name = object_name(file->d_name);
    const int fd = open_object(name, O_RDONLY);
    if (fd >= 0) {
      if (is_left_ring(fd)) {
        shm_unlink(name.c_str());
      }
      close(fd);
    }
  }
}

// True if the name of the ring still refers to it.
bool has_name(const shringbuf& ring) {
  struct stat own, named;
  const int fd = ring.name.empty() ? -1 : open_object(ring.name, O_RDONLY);
  if (fd < 0) {
    return false;
  }
  const bool same =
      fstat(ring.fd, &own) == 0 && fstat(fd, &named) == 0 && own.st_dev == named.st_dev && own.st_ino == named.st_ino;
  close(fd);
  return same;
}

RingSlot& slot_of(const shringbuf& ring, std::uint32_t part) {
  return reinterpret_cast<RingSlot*>(ring.header + 1)[part & (ring.slots - 1)];
}

void write_part(shringbuf& ring, std::string_view text, std::uint32_t flags, std::int64_t time) {
  const std::uint32_t part = ring.next_part;
  RingSlot& slot = slot_of(ring, part);
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
  ring.next_part = (part + 1) & PART_MASK;
  ring.header->next_part.store(ring.next_part, std::memory_order_release);
}

void write_line(shringbuf& ring, std::string_view line) {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  const std::int64_t time = std::int64_t{now.tv_sec} * 1000000 + now.tv_nsec / 1000;
  line = line.substr(0, TEXT_OCTETS * (ring.slots / 2));
  for (std::uint32_t flags = 0;; flags = GONE_ON) {
    const std::string_view text = line.substr(0, TEXT_OCTETS);
    line.remove_prefix(text.size());
    if (line.empty()) {
      write_part(ring, text, flags, time);
      return;
    }
    write_part(ring, text, flags | GOES_ON, time);
  }
}

}  // namespace

extern "C" {

QEL_EXPORT shringbuf* shringbuf_init(const char* name, size_t size) {
  if (name == nullptr || size < 4096 || size > SHRINGBUF_SIZE_MAX) {
    errno = EINVAL;
    return nullptr;
  }
  try {
    const auto slots = static_cast<std::uint32_t>(std::bit_floor(size / sizeof(RingSlot)));
    const std::size_t total = sizeof(RingHeader) + slots * sizeof(RingSlot);
    if (is_of_nameless_loop(name)) {
      remove_left_by_nameless_loops();
    }
    std::string object = object_name(name);
    const int fd = create_object(name, object, total);
    if (fd < 0) {
      return nullptr;
    }
    void* memory = mmap(nullptr, total, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (memory == MAP_FAILED) {
      give_up(fd, object, errno);
      return nullptr;
    }
    auto* header = new (memory) RingHeader{};
    header->version.store(RING_VERSION);
    header->slot_size.store(sizeof(RingSlot));
    header->slots.store(slots);
    header->magic.store(RING_MAGIC);  // written last: until then, readers see no ring
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
  if (has_name(*ring)) {
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
