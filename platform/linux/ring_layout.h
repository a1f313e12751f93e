// The shared memory of a log ring, as shringbuf.h describes it.
#ifndef QEL_PLATFORM_RING_LAYOUT_H
#define QEL_PLATFORM_RING_LAYOUT_H

#include <sys/stat.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

namespace qel::platform {

// Everything in shared memory is a 32-bit atomic word: wider ones are not lock-free on every target, and the text is
// copied word by word so that a reader that overlaps the writer reads old or new words and nothing undefined.
using Word = std::atomic<std::uint32_t>;
static_assert(Word::is_always_lock_free && sizeof(Word) == 4);

constexpr std::size_t kTextWords = 60;
constexpr std::size_t kTextOctets = kTextWords * 4;
// In RingSlot::length.
constexpr std::uint32_t kGoesOn = 0x80000000;
constexpr std::uint32_t kGoneOn = 0x40000000;
constexpr std::uint32_t kLengthMask = 0x3fffffff;
constexpr std::uint32_t kPartMask = 0x7fffffff;

struct RingSlot {
  Word sequence;
  Word length;
  Word time_low;
  Word time_high;
  Word text[kTextWords];
};
static_assert(sizeof(RingSlot) == 256);

struct RingHeader {
  Word magic;
  Word version;
  Word slot_size;
  Word slots;
  Word next_part;
  Word finished;
  Word unused[10];

  RingSlot& slot_of(std::uint32_t part) { return slots_begin()[part & (slots.load(std::memory_order_relaxed) - 1)]; }
  const RingSlot& slot_of(std::uint32_t part, std::uint32_t slot_count) const {
    return slots_begin()[part & (slot_count - 1)];
  }

 private:
  RingSlot* slots_begin() { return reinterpret_cast<RingSlot*>(this + 1); }
  const RingSlot* slots_begin() const { return reinterpret_cast<const RingSlot*>(this + 1); }
};
static_assert(sizeof(RingHeader) == 64);

constexpr std::uint32_t kRingMagic = 0x524c4551;  // "QELR" on a little-endian machine
constexpr std::uint32_t kRingVersion = 1;

/// The name of the shared memory object of a ring.
std::string object_name(const char* ring_name);

/// Whether a writer holds the ring that `fd` refers to: it keeps a lock on the object that ends with its life.
bool has_writer(int fd);

/// Makes the ring that `fd` refers to the caller's, for as long as it or a child keeps the descriptor; false when it
/// has another writer.
bool claim(int fd);

}  // namespace qel::platform

#endif
