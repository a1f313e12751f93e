#include "bench/mesh/heap.h"

#include <malloc.h>

#include <cstdlib>
#include <new>

namespace {

std::int64_t in_use = 0;

std::int64_t size_of(void* memory) {
  return memory == nullptr ? 0 : static_cast<std::int64_t>(malloc_usable_size(memory) + sizeof(std::size_t));
}

}  // namespace

void* operator new(std::size_t size) {
  void* memory = std::malloc(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  in_use += size_of(memory);
  return memory;
}
void operator delete(void* memory) noexcept {
  in_use -= size_of(memory);
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }

std::int64_t meshd::simulation::heap_in_use() { return in_use; }
