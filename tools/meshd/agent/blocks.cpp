#include "tools/meshd/agent/blocks.h"

#include <string>

namespace meshd::agent {

namespace {

using qel::MACAddress;

std::string text_of(const MACAddress& bssid, const MACAddress& client) {
  return client.to_string() + " at " + bssid.to_string();
}

}  // namespace

Blocks::~Blocks() {
  for (const auto& [key, block] : blocks_) {
    desk_.air().set_denied(key.first, key.second, false, [](const std::string&) {});
  }
}

bool Blocks::block(const MACAddress& bssid, const MACAddress& client, TimePoint until) {
  const Key key(bssid, client);
  if (blocks_.size() >= MOST && !blocks_.contains(key)) {
    return false;
  }
  blocks_.insert_or_assign(key, Block{until});
  desk_.air().set_denied(bssid, client, true, desk_.while_alive([this, key](const std::string& trouble) {
    if (!trouble.empty()) {
      desk_.log("cannot block " + text_of(key.first, key.second) + ": " + trouble);
      blocks_.erase(key);
    }
  }));
  return true;
}

void Blocks::unblock(const MACAddress& bssid, const MACAddress& client) {
  if (const auto found = blocks_.find({bssid, client}); found != blocks_.end()) {
    end(found->first, found->second);
  }
}

void Blocks::tend(TimePoint now) {
  for (auto& [key, block] : blocks_) {
    if (block.until <= now) {
      end(key, block);
    }
  }
}

/// It stays in the list until it has ended, so that a new block of the client is told from this one.
void Blocks::end(const Key& key, Block& block) {
  ++block.attempts;
  block.until = desk_.now() + PAUSE;
  desk_.air().set_denied(key.first, key.second, false, desk_.while_alive([this, key](const std::string& trouble) {
    const auto found = blocks_.find(key);
    if (found == blocks_.end() || found->second.attempts == 0) {
      return;  // it was blocked anew
    }
    if (!trouble.empty() && found->second.attempts < ATTEMPTS) {
      return;
    }
    if (!trouble.empty()) {
      desk_.log("cannot end the block of " + text_of(key.first, key.second) + ": " + trouble);
    }
    blocks_.erase(found);
  }));
}

}  // namespace meshd::agent
