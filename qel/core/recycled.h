#pragma once

#include <cstddef>
#include <new>

#include "qel/core/export.h"

namespace qel {

/// Base of classes whose objects come and go with every frame. The memory of a deleted object is kept for a new one of
/// about the same size. Each thread keeps a few blocks per size, and frees them when it ends. An object may be deleted
/// in another thread than the one that created it.
class QEL_EXPORT Recycled {
 public:
  static void* operator new(std::size_t size);
  static void operator delete(void* block, std::size_t size) noexcept;
  static void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
      return operator new(size);
    } catch (const std::bad_alloc&) {
      return nullptr;
    }
  }
  static void operator delete(void* block, const std::nothrow_t&) noexcept { ::operator delete(block); }

  // The other forms, which those above would hide. Their blocks are not kept.
  static void* operator new(std::size_t size, std::align_val_t alignment) { return ::operator new(size, alignment); }
  static void operator delete(void* block, std::align_val_t alignment) noexcept { ::operator delete(block, alignment); }
  static void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t& tag) noexcept {
    return ::operator new(size, alignment, tag);
  }
  static void operator delete(void* block, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    ::operator delete(block, alignment);
  }
  static void* operator new(std::size_t, void* place) noexcept { return place; }
  static void operator delete(void*, void*) noexcept {}
};

}  // namespace qel
