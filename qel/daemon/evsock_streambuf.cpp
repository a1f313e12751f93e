#include "qel/daemon/evsock_streambuf.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

#include "qelevsock.h"

namespace qel::daemon {

namespace {

constexpr int MAX_BUFFER_SIZE = 512;

}  // namespace

evsock_streambuf::evsock_streambuf(evsock* handle) : handle_(handle) {
  if (handle == nullptr) {
    throw std::invalid_argument("received nullptr for evsock");
  }
  buffer_.resize(static_cast<std::size_t>(std::clamp(evsock_getobufsize(handle), 1, MAX_BUFFER_SIZE)));
  setp(buffer_.data(), buffer_.data() + buffer_.size());
}

evsock_streambuf::~evsock_streambuf() = default;

evsock_streambuf::int_type evsock_streambuf::overflow(int_type c) {
  if (const auto length = pptr() - pbase(); length > 0) {
    const int written = evsock_bwrite(handle_, pbase(), static_cast<std::size_t>(length));
    if (written < 0) {
      char text[64];
      std::snprintf(text, sizeof text, "evsock error: %d", written);
      throw std::runtime_error(text);
    }
    if (written == 0) {
      return traits_type::eof();
    }
    std::copy(pbase() + written, pptr(), pbase());
    pbump(-written);
  }
  if (!traits_type::eq_int_type(c, traits_type::eof())) {
    *pptr() = traits_type::to_char_type(c);
    pbump(1);
  }
  return traits_type::not_eof(c);
}

int evsock_streambuf::sync() {
  overflow();
  return pptr() == pbase() ? 0 : -1;
}

}  // namespace qel::daemon
