#include "qel/core/recycled.h"

#include <array>

namespace qel {

namespace {

/// Blocks of one size. The addresses are not kept in the blocks, so that a stray write to a deleted object cannot
/// change them.
struct Shelf {
  std::size_t count;
  std::array<void*, QEL_KEPT_BLOCKS> blocks;
};

/// Sizes are rounded up as the heap does anyway.
constexpr std::size_t STEP = __STDCPP_DEFAULT_NEW_ALIGNMENT__;
constexpr std::size_t SHELVES = 8;

constexpr std::size_t shelf_of(std::size_t size) { return (size - 1) / STEP; }
constexpr std::size_t block_size(std::size_t shelf) { return (shelf + 1) * STEP; }

struct Store {
  Shelf shelves[SHELVES];
  std::size_t room;  ///< per shelf; 0 before the first deletion and after the end of the thread
  bool is_opened;
};

constinit thread_local Store store{};

/// Empties the store when the thread ends.
struct Closer {
  ~Closer() {
    store.room = 0;
    for (Shelf& of_size : store.shelves) {
      while (of_size.count != 0) {
        ::operator delete(of_size.blocks[--of_size.count]);
      }
    }
  }
};

void open_store() {
  static thread_local const Closer closer;
  store.is_opened = true;
  store.room = QEL_KEPT_BLOCKS;
}

}  // namespace

void* Recycled::operator new(std::size_t size) {
  const std::size_t shelf = shelf_of(size);
  if (shelf >= SHELVES) {
    return ::operator new(size);
  }
  Shelf& of_size = store.shelves[shelf];
  return of_size.count != 0 ? of_size.blocks[--of_size.count] : ::operator new(block_size(shelf));
}

void Recycled::operator delete(void* block, std::size_t size) noexcept {
  const std::size_t shelf = shelf_of(size);
  if (shelf >= SHELVES) {
    ::operator delete(block);
    return;
  }
  Store& here = store;
  if (!here.is_opened) {
    open_store();
  }
  Shelf& of_size = here.shelves[shelf];
  if (of_size.count < here.room && block != nullptr) {
    of_size.blocks[of_size.count++] = block;
  } else {
    ::operator delete(block);
  }
}

}  // namespace qel
