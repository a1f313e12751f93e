#pragma once

#include <string>

#include "qel/core/export.h"

struct evsock;

namespace qel::daemon {

/// One descriptor that the main loop waits for. A watch is held by shared pointer and neither copied nor moved: the
/// platform keeps its address. One that dies unregisters itself.
class QEL_EXPORT IWatchBase {
 public:
  explicit IWatchBase(std::string name);
  IWatchBase(const IWatchBase&) = delete;
  IWatchBase& operator=(const IWatchBase&) = delete;
  virtual ~IWatchBase();

  /// Does nothing when the watch is not registered.
  virtual void remove_from_evsock();

  /// Registers with the platform; a watch that is registered already is taken out first.
  void add_to_evsock();

  /// Asks for one more on_writable(), in a later turn, as soon as the descriptor is writable.
  void want_write();
  /// No on_readable() from now on, not even in this turn, until resume_reading() or the end of the registration; what
  /// is there to read waits.
  void pause_reading();
  void resume_reading();
  // These three do nothing when the watch is not registered. They throw std::system_error where the platform's library
  // cannot do it (docs/porting.md).

  const std::string& get_name() const { return name_; }
  /// Null when not registered.
  evsock* get_handle() const { return handle_; }

 protected:
  virtual evsock* add_to_evsock_impl() = 0;
  void remove_from_evsock_impl();

 private:
  std::string name_;
  evsock* handle_ = nullptr;
};

/// A watch of a file descriptor. The descriptor belongs to whoever opened it: it is never closed here.
///
/// A watch that was removed can be added again, to the same loop or another one; first set_fd() gives it a descriptor.
/// Those that own theirs, such as RawSock and SignalWatch, do that by themselves.
class QEL_EXPORT IFDWatchBase : public IWatchBase {
 public:
  IFDWatchBase(int fd, const std::string& name);

  /// Forgets the descriptor too: get_fd() is -1 afterwards.
  void remove_from_evsock() override;

  int get_fd() const { return fd_; }
  /// For the next registration.
  void set_fd(int fd) { fd_ = fd; }

 protected:
  void remove_from_evsock_impl();

 private:
  int fd_;
};

/// A watch with the two common handlers. Handlers run inside Mainloop::run and may remove this watch or another one.
class QEL_EXPORT ISimpleFDWatch : public IFDWatchBase {
 public:
  using IFDWatchBase::IFDWatchBase;

 protected:
  evsock* add_to_evsock_impl() override;

 public:
  /// Called in each turn as long as there is something to read.
  virtual void on_readable() = 0;
  /// Called once after registration, and once for each want_write() and each write by the platform (evsock_bwrite(), so
  /// also evsock_streambuf) that could not be finished, as soon as the descriptor is writable. A write past the
  /// platform that falls short, by write(2) or RawSock::send_data(), asks for nothing by itself: call want_write()
  /// then.
  virtual void on_writable() = 0;
};

/// A watch with all four handlers.
class QEL_EXPORT IGenericFDWatch : public IFDWatchBase {
 public:
  using IFDWatchBase::IFDWatchBase;

 protected:
  evsock* add_to_evsock_impl() override;

 public:
  virtual void on_readable() = 0;
  /// See ISimpleFDWatch.
  virtual void on_writable() = 0;
  /// Hang-up or error.
  virtual void on_aux_event_1() = 0;
  /// Priority data.
  virtual void on_aux_event_2() = 0;
};

}  // namespace qel::daemon
