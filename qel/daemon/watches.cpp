#include "qel/daemon/watches.h"

#include <cerrno>
#include <ostream>
#include <system_error>
#include <utility>

#include "qel/daemon/log.h"
#include "qelevsock.h"

// Optional in a platform's library.
extern "C" {
[[gnu::weak]] void evsock_want_write(evsock*);
[[gnu::weak]] void evsock_want_read(evsock*, int);
}

namespace qel::daemon {

namespace {

/// The platform's callback that calls a handler of the watch.
template <class Watch, void (Watch::*handler)()>
void call(evsock*, void* watch) {
  (static_cast<Watch*>(watch)->*handler)();
}

evsock* add_blocking(int fd, const std::string& name, evsock_callback readable, evsock_callback writable,
                     evsock_callback aux_1, evsock_callback aux_2, void* watch) {
  evsock* handle = evsock_add_fd(fd, name.c_str(), readable, writable, aux_1, aux_2, nullptr, watch);
  if (handle != nullptr) {
    evsock_fd_blocking(handle);
  }
  return handle;
}

/// Calls the platform's function if the watch is registered.
template <class Function, class... Args>
void ask(Function* function, evsock* handle, Args... args) {
  if (function == nullptr) {
    throw std::system_error(std::make_error_code(std::errc::function_not_supported));
  }
  if (handle != nullptr) {
    function(handle, args...);
  }
}

}  // namespace

void IWatchBase::want_write() { ask(evsock_want_write, handle_); }

void IWatchBase::pause_reading() { ask(evsock_want_read, handle_, 0); }

void IWatchBase::resume_reading() { ask(evsock_want_read, handle_, 1); }

IWatchBase::IWatchBase(std::string name) : name_(std::move(name)) {}

IWatchBase::~IWatchBase() { remove_from_evsock_impl(); }

void IWatchBase::remove_from_evsock() { remove_from_evsock_impl(); }

void IWatchBase::remove_from_evsock_impl() {
  if (evsock* handle = std::exchange(handle_, nullptr)) {
    evsock_remove_fd(handle);
  }
}

void IWatchBase::add_to_evsock() {
  IWatchBase::remove_from_evsock_impl();
  handle_ = add_to_evsock_impl();
  if (handle_ == nullptr) {
    const std::string cause = std::generic_category().message(errno);
    debug::stream("mainloop") << debug::LogLevels::ERROR << "Failed to watch " << name_ << ": " << cause << std::endl;
  }
}

IFDWatchBase::IFDWatchBase(int fd, const std::string& name) : IWatchBase(name), fd_(fd) {}

void IFDWatchBase::remove_from_evsock() {
  IWatchBase::remove_from_evsock();
  remove_from_evsock_impl();
}

void IFDWatchBase::remove_from_evsock_impl() { fd_ = -1; }

evsock* ISimpleFDWatch::add_to_evsock_impl() {
  return add_blocking(get_fd(), get_name(), call<ISimpleFDWatch, &ISimpleFDWatch::on_readable>,
                      call<ISimpleFDWatch, &ISimpleFDWatch::on_writable>, nullptr, nullptr, this);
}

evsock* IGenericFDWatch::add_to_evsock_impl() {
  return add_blocking(get_fd(), get_name(), call<IGenericFDWatch, &IGenericFDWatch::on_readable>,
                      call<IGenericFDWatch, &IGenericFDWatch::on_writable>,
                      call<IGenericFDWatch, &IGenericFDWatch::on_aux_event_1>,
                      call<IGenericFDWatch, &IGenericFDWatch::on_aux_event_2>, this);
}

}  // namespace qel::daemon
