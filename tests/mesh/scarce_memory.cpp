// Preloaded into a daemon: C++ has no memory to allocate while the file exists that the environment variable NO_MEMORY
// names. The file gets an octet for each refusal.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <new>

void* operator new(std::size_t size) {
  const char* path = std::getenv("NO_MEMORY");
  const int file = path == nullptr ? -1 : open(path, O_WRONLY | O_APPEND | O_CLOEXEC);
  if (file >= 0) {
    [[maybe_unused]] const auto written = write(file, "x", 1);
    close(file);
    throw std::bad_alloc();
  }
  if (void* memory = std::malloc(size)) {
    return memory;
  }
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
