/* For LD_PRELOAD: counts a program's heap allocations, and reports on standard error those made before main and until
 * the program first waited for something. */
#define _GNU_SOURCE
#include <signal.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/syscall.h>
#include <unistd.h>

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);

static unsigned long blocks;
static unsigned long octets;

static void count(size_t size) {
  ++blocks;
  octets += size;
}

void* malloc(size_t size) {
  count(size);
  return __libc_malloc(size);
}

void* calloc(size_t number, size_t size) {
  count(number * size);
  return __libc_calloc(number, size);
}

void* realloc(void* block, size_t size) {
  count(size);
  return __libc_realloc(block, size);
}

static void tell(const char* stage) {
  char line[100];
  snprintf(line, sizeof line, "heap %s: %lu blocks, %lu octets\n", stage, blocks, octets);
  if (write(STDERR_FILENO, line, strlen(line)) < 0) {
    _exit(1);
  }
}

/* The libraries are initialised before a preloaded object. */
__attribute__((constructor)) static void begin(void) { tell("before main"); }

int epoll_pwait(int epoll, struct epoll_event* events, int most, int timeout, const sigset_t* mask) {
  static int waited;
  if (!waited && timeout != 0) {
    waited = 1;
    tell("until it first waits");
  }
  return (int)syscall(SYS_epoll_pwait, epoll, events, most, timeout, mask, _NSIG / 8);
}

int epoll_wait(int epoll, struct epoll_event* events, int most, int timeout) {
  return epoll_pwait(epoll, events, most, timeout, NULL);
}
