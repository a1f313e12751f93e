#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "platform/linux/export.h"
#include "platform/linux/loop.h"

using qel::platform::Loop;

namespace {

// Writes to a descriptor that is not a socket. The descriptor may be in blocking mode, so only as much is written as
// cannot block: a writable pipe has room for PIPE_BUF octets.
ssize_t write_what_fits(int fd, const char* data, std::size_t length) {
  std::size_t done = 0;
  while (done < length) {
    pollfd writable = {fd, POLLOUT, 0};
    if (poll(&writable, 1, 0) != 1) {
      break;
    }
    const ssize_t written = write(fd, data + done, std::min<std::size_t>(length - done, PIPE_BUF));
    if (written < 0) {
      return done > 0 ? static_cast<ssize_t>(done) : -1;
    }
    done += static_cast<std::size_t>(written);
  }
  return static_cast<ssize_t>(done);
}

void ignore_sigpipe() {
  struct sigaction action;
  if (sigaction(SIGPIPE, nullptr, &action) == 0 && (action.sa_flags & SA_SIGINFO) == 0 &&
      action.sa_handler == SIG_DFL) {
    signal(SIGPIPE, SIG_IGN);
  }
}

}  // namespace

extern "C" {

QEL_EXPORT int evsock_init(void) {
  Loop* loop = Loop::get();
  if (loop == nullptr) {
    return errno != 0 ? -errno : -ENOMEM;
  }
  ignore_sigpipe();
  loop->acquire();
  return 0;
}

QEL_EXPORT void evsock_exit(void) {
  if (Loop* loop = Loop::peek()) {
    loop->release();
  }
}

QEL_EXPORT evsock* evsock_add_fd(int fd, const char* name, evsock_callback readable, evsock_callback writable,
                                 evsock_callback hangup, evsock_callback priority, void* reserved, void* context) {
  if (name == nullptr || reserved != nullptr) {
    errno = EINVAL;
    return nullptr;
  }
  const int flags = fcntl(fd, F_GETFL);
  if (flags < 0 || ((flags & O_NONBLOCK) == 0 && fcntl(fd, F_SETFL, flags | O_NONBLOCK) < 0)) {
    return nullptr;
  }
  Loop* loop = Loop::get();
  std::unique_ptr<evsock> watch(new (std::nothrow) evsock);
  const std::size_t name_size = std::strlen(name) + 1;
  if (watch != nullptr) {
    watch->name.reset(new (std::nothrow) char[name_size]);
  }
  if (loop == nullptr || watch == nullptr || watch->name == nullptr) {
    errno = ENOMEM;
    return nullptr;
  }
  std::memcpy(watch->name.get(), name, name_size);
  watch->fd = fd;
  watch->context = context;
  watch->callbacks[evsock::READING] = readable;
  watch->callbacks[evsock::WRITING] = writable;
  watch->callbacks[evsock::HANGUP] = hangup;
  watch->callbacks[evsock::PRIORITY] = priority;
  evsock* const handle = watch.get();
  return loop->add(std::move(watch)) ? handle : nullptr;
}

QEL_EXPORT void evsock_remove_fd(evsock* handle) {
  if (handle == nullptr) {
    return;
  }
  if (handle->live) {
    Loop::peek()->remove(handle);
  } else {
    delete handle;  // its loop is gone
  }
}

QEL_EXPORT int evsock_fd_blocking(evsock* handle) {
  if (handle == nullptr) {
    return -EINVAL;
  }
  const int flags = fcntl(handle->fd, F_GETFL);
  return flags < 0 || fcntl(handle->fd, F_SETFL, flags & ~O_NONBLOCK) < 0 ? -errno : 0;
}

QEL_EXPORT void evsock_want_write(evsock* handle) {
  if (handle != nullptr && handle->live) {
    handle->write_wanted = true;
    Loop::peek()->update_interest(handle);
  }
}

QEL_EXPORT void evsock_want_read(evsock* handle, int wanted) {
  if (handle != nullptr && handle->live) {
    handle->read_wanted = wanted != 0;
    if (!handle->read_wanted) {
      handle->ready &= ~(1u << evsock::READING);
    }
    Loop::peek()->update_interest(handle);
  }
}

QEL_EXPORT int evsock_getobufsize(const evsock* handle) {
  if (handle == nullptr) {
    return 1;
  }
  int size = 0;
  socklen_t length = sizeof size;
  if (getsockopt(handle->fd, SOL_SOCKET, SO_SNDBUF, &size, &length) != 0) {
    size = fcntl(handle->fd, F_GETPIPE_SZ);
  }
  return size > 0 ? size : PIPE_BUF;
}

QEL_EXPORT int evsock_bwrite(evsock* handle, const void* data, size_t length) {
  if (handle == nullptr || (data == nullptr && length > 0)) {
    return -EINVAL;
  }
  length = std::min<std::size_t>(length, INT_MAX);
  ssize_t written = send(handle->fd, data, length, MSG_DONTWAIT | MSG_NOSIGNAL);
  if (written < 0 && errno == ENOTSOCK) {
    written = write_what_fits(handle->fd, static_cast<const char*>(data), length);
  }
  if (written < 0) {
    if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
      return -errno;
    }
    written = 0;
  }
  if (static_cast<std::size_t>(written) < length) {
    evsock_want_write(handle);
  }
  return static_cast<int>(written);
}

QEL_EXPORT int evsock_get_fd(const evsock* handle) { return handle != nullptr ? handle->fd : -1; }

QEL_EXPORT const char* evsock_get_name(const evsock* handle) {
  return handle != nullptr ? handle->name.get() : nullptr;
}

QEL_EXPORT int evsock_select_with_msecs(int milliseconds) {
  Loop* loop = Loop::get();
  return loop != nullptr ? loop->turn(milliseconds) : -1;
}

}  // extern "C"
