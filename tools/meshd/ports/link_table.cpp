#include "tools/meshd/ports/link_table.h"

#include <new>
#include <ostream>
#include <system_error>
#include <utility>

#include "qel/daemon/log.h"

namespace meshd {

namespace {

/// Maximum number of datagrams in a turn; the next turn reads the others.
constexpr int MOST_IN_A_TURN = 64;

}  // namespace

LinkTable::LinkTable(std::function<void()> on_change)
    : ISimpleFDWatch(-1, "links"), on_change_(std::move(on_change)), socket_(true) {
  set_fd(socket_.get_fd());
  for (ask_if_needed(); is_asked_; ask_if_needed()) {
    receive(true);
  }
}

/// Unregisters before the descriptor is closed.
LinkTable::~LinkTable() { remove_from_evsock(); }

const Link* LinkTable::find(unsigned int index) const {
  const auto place = links_.find(index);
  return place == links_.end() ? nullptr : &place->second;
}

void LinkTable::on_readable() {
  try {
    auto result = LinkSocket::Result::RECEIVED;
    for (int count = 0; count < MOST_IN_A_TURN && result != LinkSocket::Result::NOTHING; ++count) {
      result = receive(false);
    }
    // After an overrun the kernel sends nothing new until everything is read, so changes before that would be missed.
    if (result == LinkSocket::Result::NOTHING) {
      ask_if_needed();
    }
  } catch (const std::system_error& error) {  // the kernel is short of memory, for example
    is_asked_ = false;
    must_ask_ = true;
    qel::debug::stream("meshd") << qel::debug::LogLevels::ERROR << "cannot follow the interfaces: " << error.what()
                                << std::endl;
  } catch (const std::bad_alloc&) {
    is_asked_ = false;
    must_ask_ = true;
    throw;
  }
  on_change_();
}

void LinkTable::tend() {
  if (must_ask_) {
    on_readable();
  }
}

LinkSocket::Result LinkTable::receive(bool waits) {
  const auto result = socket_.receive(waits, [this](LinkSocket::Event event, const Link& link) { take(event, link); });
  must_ask_ = must_ask_ || result == LinkSocket::Result::OVERRUN;
  return result;
}

void LinkTable::ask_if_needed() {
  if (must_ask_ && !is_asked_) {
    told_.clear();
    socket_.ask_all();
    is_asked_ = true;
    must_ask_ = false;
  }
}

void LinkTable::take(LinkSocket::Event event, const Link& link) {
  switch (event) {
    case LinkSocket::Event::LINK:
      links_[link.index] = link;
      told_.insert(link.index);
      break;
    case LinkSocket::Event::LINK_GONE:
      links_.erase(link.index);
      break;
    case LinkSocket::Event::ALL_TOLD:
      is_asked_ = false;
      if (!must_ask_) {
        std::erase_if(links_, [this](const auto& entry) { return !told_.contains(entry.first); });
      }
      break;
    case LinkSocket::Event::INTERRUPTED:
      is_asked_ = false;
      must_ask_ = true;
      break;
  }
}

}  // namespace meshd
