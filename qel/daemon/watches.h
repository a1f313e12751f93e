#pragma once

#include <string>

#include "qel/core/export.h"

struct evsock;

namespace qel::daemon {

/// A descriptor that the main loop waits for. A watch is held by shared pointer and can be neither copied nor moved,
/// because the platform keeps its address. It unregisters itself when destroyed.
class QEL_EXPORT IWatchBase {
 public:
  explicit IWatchBase(std::string name);
  IWatchBase(const IWatchBase&) = delete;
  IWatchBase& operator=(const IWatchBase&) = delete;
  virtual ~IWatchBase();

  /// Does nothing if the watch is not registered.
  virtual void remove_from_evsock();

  /// Registers with the platform. A watch that is already registered is unregistered first.
  void add_to_evsock();

  /// Requests one more call of on_writable(), in a later turn, as soon as the descriptor is writable.
  void want_write();
  /// Suppresses on_readable(), even in this turn, until resume_reading() or the end of the registration; pending input
  /// waits.
  void pause_reading();
  void resume_reading();
  // These three functions do nothing if the watch is not registered. They throw std::system_error if the platform's
  // library does not support them (docs/porting.md).

  const std::string& get_name() const { return name_; }
  /// Null if not registered.
  evsock* get_handle() const { return handle_; }

 protected:
  virtual evsock* add_to_evsock_impl() = 0;
  void remove_from_evsock_impl();

 private:
  std::string name_;
  evsock* handle_ = nullptr;
};

/// A watch of a file descriptor. The watch never closes the descriptor, which belongs to whoever opened it.
///
/// A watch that was removed can be added again, to the same loop or another, after set_fd() has given it a descriptor.
/// Watches that own their descriptor, such as RawSock and SignalWatch, do this themselves.
class QEL_EXPORT IFDWatchBase : public IWatchBase {
 public:
  IFDWatchBase(int fd, const std::string& name);

  /// Also forgets the descriptor: get_fd() then returns -1.
  void remove_from_evsock() override;

  int get_fd() const { return fd_; }
  /// Takes effect at the next registration.
  void set_fd(int fd) { fd_ = fd; }

 protected:
  void remove_from_evsock_impl();

 private:
  int fd_;
};

/// A watch with the two common handlers. Handlers run inside Mainloop::run and may remove this or any other watch.
class QEL_EXPORT ISimpleFDWatch : public IFDWatchBase {
 public:
  using IFDWatchBase::IFDWatchBase;

 protected:
  evsock* add_to_evsock_impl() override;

 public:
  /// Called in every turn while there is something to read.
  virtual void on_readable() = 0;
  /// Called as soon as the descriptor is writable: once after registration, once for each want_write(), and once for
  /// each write by the platform that could not be completed (evsock_bwrite(), and so evsock_streambuf). After a short
  /// write that bypasses the platform, such as write(2) or RawSock::send_data(), call want_write().
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
  /// As in ISimpleFDWatch.
  virtual void on_writable() = 0;
  /// Called on hang-up or error.
  virtual void on_aux_event_1() = 0;
  /// Called when there is priority data.
  virtual void on_aux_event_2() = 0;
};

}  // namespace qel::daemon
