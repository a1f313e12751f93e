#pragma once

#include <cstddef>
#include <streambuf>
#include <vector>

#include "qel/core/export.h"

struct evsock;

namespace qel::daemon {

/// Buffers the output of one registered socket: at most 512 octets, and never more than the platform does.
class QEL_EXPORT evsock_streambuf : public std::streambuf {
 public:
  /// Does not own the handle. Throws std::invalid_argument if it is null.
  explicit evsock_streambuf(evsock* handle);
  ~evsock_streambuf() override;

 protected:
  /// Throws std::runtime_error if the platform cannot write; returns end of file if it accepts nothing.
  int_type overflow(int_type c = traits_type::eof()) override;
  int sync() override;

 private:
  evsock* handle_;
  std::vector<char> buffer_;
};

}  // namespace qel::daemon
