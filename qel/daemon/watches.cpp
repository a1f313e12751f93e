#include "qel/daemon/watches.h"

#include <ostream>
#include <utility>

#include "qel/daemon/log.h"
#include "qelevsock.h"

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

}  // namespace

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
    debug::stream("mainloop") << debug::LogLevels::ERROR << "Failed to watch " << name_ << std::endl;
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
