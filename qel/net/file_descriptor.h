#pragma once

#include <utility>

#include "qel/core/export.h"

namespace qel {

/// Owns a file descriptor; -1 means none.
class QEL_EXPORT FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int fd) : fd_(fd) {}
  FileDescriptor(FileDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~FileDescriptor() { reset(); }

  int get() const { return fd_; }

  /// Closes the descriptor; errno is unchanged.
  void reset() noexcept;

 private:
  int fd_ = -1;
};

}  // namespace qel
