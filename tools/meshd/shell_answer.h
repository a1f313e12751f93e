#pragma once

#include <array>
#include <exception>
#include <new>
#include <ostream>
#include <streambuf>

#include "ctlcmd.h"

namespace meshd {

/// Passes the answer of a command to the session in pieces, so that only the endpoint holds it as a whole.
class SessionBuffer final : public std::streambuf {
 public:
  explicit SessionBuffer(ctlcmd_session* session) : session_(session) { setp(piece_.begin(), piece_.end()); }

 protected:
  int_type overflow(int_type character) override {
    sync();
    return traits_type::eq_int_type(character, traits_type::eof()) ? traits_type::not_eof(character)
                                                                   : sputc(traits_type::to_char_type(character));
  }

  /// Throws std::bad_alloc, which makes the stream bad.
  int sync() override {
    ctlcmd_printf(session_, "%.*s", static_cast<int>(pptr() - pbase()), pbase());
    setp(piece_.begin(), piece_.end());
    return 0;
  }

 private:
  ctlcmd_session* session_;
  std::array<char, 4096> piece_;
};

/// Runs a command of the debug shell, which writes its answer to the stream that it gets, and returns its result. If it
/// throws, it has failed, and the text of the exception is the answer. Lack of memory is left to the shell.
template <class Command>
int answer(ctlcmd_session* session, Command command) {
  SessionBuffer buffer(session);
  std::ostream os(&buffer);
  int result = 0;
  try {
    command(os);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& exception) {
    os << exception.what() << '\n';
    result = CTLCMD_FAILED;
  }
  if (!os.flush()) {
    throw std::bad_alloc();
  }
  return result;
}

}  // namespace meshd
