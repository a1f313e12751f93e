#include "qel/net/file_descriptor.h"

#include <unistd.h>

#include <cerrno>

namespace qel {

void FileDescriptor::reset() noexcept {
  if (fd_ >= 0) {
    const int before = errno;
    ::close(fd_);
    errno = before;
    fd_ = -1;
  }
}

}  // namespace qel
