#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

#include "shringbuf.h"

/// The shared memory of a log ring, as shringbuf.h describes it.
namespace qel::platform {

// Everything in shared memory is a 32-bit atomic word. Wider ones are not lock-free on every target, and the text is
// written word by word so that a reader that overlaps the writer sees either old or new words.
using Word = std::atomic<std::uint32_t>;
static_assert(Word::is_always_lock_free && sizeof(Word) == 4);

constexpr std::size_t TEXT_WORDS = 60;
constexpr std::size_t TEXT_OCTETS = TEXT_WORDS * 4;
// In RingSlot::length.
constexpr std::uint32_t GOES_ON = 0x80000000;
constexpr std::uint32_t GONE_ON = 0x40000000;
constexpr std::uint32_t LENGTH_MASK = 0x3fffffff;
constexpr std::uint32_t PART_MASK = 0x7fffffff;

template <class Number>
struct BasicRingSlot {
  Number sequence;
  Number length;
  Number time_low;
  Number time_high;
  Number text[TEXT_WORDS];
};
using RingSlot = BasicRingSlot<Word>;
static_assert(sizeof(RingSlot) == 256);

template <class Number>
struct BasicRingHeader {
  Number magic;
  Number version;
  Number slot_size;
  Number slots;
  Number next_part;
  Number finished;
  Number unused[10];
};
using RingHeader = BasicRingHeader<Word>;
static_assert(sizeof(RingHeader) == 64);

/// As copied out of the shared memory.
using RingSlotCopy = BasicRingSlot<std::uint32_t>;
using RingHeaderCopy = BasicRingHeader<std::uint32_t>;

constexpr std::uint32_t RING_MAGIC = 0x524c4551;  // "QELR" on a little-endian machine
constexpr std::uint32_t RING_VERSION = 1;
/// A power of two. A reader accepts no more, so that the contents of the memory cannot keep it busy.
constexpr std::uint32_t SLOTS_MAX = SHRINGBUF_SIZE_MAX / sizeof(RingSlot);

/// The name of the shared memory object of a ring.
std::string object_name(const char* ring_name);

/// Opens a shared memory object, or anything else with its name, without following a link or blocking. Returns the
/// descriptor, or -1 with errno set.
int open_object(const std::string& name, int flags);

/// True if a writer holds the ring that `fd` refers to: it has a lock on the object that ends when it exits.
bool has_writer(int fd);

/// Claims the ring that `fd` refers to for the caller, for as long as it or a child keeps the descriptor open. Returns
/// false if the ring has another writer.
bool claim(int fd);

}  // namespace qel::platform
