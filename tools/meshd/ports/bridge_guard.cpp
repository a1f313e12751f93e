#include "tools/meshd/ports/bridge_guard.h"

#include <linux/netfilter/nf_tables.h>
#include <linux/netfilter/nfnetlink.h>
#include <nftables/libnftables.h>

#include <stdexcept>
#include <system_error>
#include <utility>

#include "qel/core/hex_text.h"
#include "tools/meshd/ports/netlink.h"

namespace meshd {

namespace {

/// A valid nftables identifier, different for each name.
std::string table_of(const std::string& daemon) {
  std::string table = "mesh_";
  for (const char c : daemon) {
    const auto octet = static_cast<unsigned char>(c);
    if ((octet >= 'a' && octet <= 'z') || (octet >= 'A' && octet <= 'Z') || (octet >= '0' && octet <= '9')) {
      table += c;
    } else {
      table += '_';
      qel::append_hex(table, octet, qel::LOWER_CASE_DIGITS);
    }
  }
  return table;
}

/// A bridge that filters VLANs has tagged every frame by the time it forwards it. Therefore frames are marked on
/// arrival, when it is still visible whether they came with a tag, and dropped when they are forwarded. Other programs
/// may use the same mark for frames of their own, so the mark alone is not enough.
constexpr const char* DISCOVERY = R"(
  chain prerouting {
    type filter hook prerouting priority -300; policy accept;
    iif @ports ether daddr 01:80:c2:00:00:13 ether type 0x893a meta mark set 0x893a
    iif @ports ether daddr 01:80:c2:00:00:13 vlan id 0 vlan type 0x893a meta mark set 0x893a
    iif @ports ether daddr 01:80:c2:00:00:0e ether type 0x88cc meta mark set 0x893a
  }
  chain forward {
    type filter hook forward priority -300; policy accept;
    iif @ports oif @ports meta mark 0x893a ether daddr 01:80:c2:00:00:13 meta protocol 0x893a drop
    iif @ports oif @ports meta mark 0x893a ether daddr 01:80:c2:00:00:0e meta protocol 0x88cc drop
  }
)";

std::string set_of(const char* name, const std::set<unsigned int>& ports) {
  std::string elements;
  for (const unsigned int port : ports) {
    elements.append(elements.empty() ? " elements = { " : ", ").append(std::to_string(port));
  }
  return std::string("set ") + name + " { type iface_index;" + elements + (elements.empty() ? "" : " }") + " }\n";
}

std::string rules_of(const Guarding& guarding) {
  std::string rules = set_of("ports", guarding.ports) + DISCOVERY;
  if (guarding.controller) {
    const std::string forged = "iif != @to_controller ether saddr " + guarding.controller->to_string();
    rules += set_of("to_controller", guarding.ports_to_controller) +
             "chain controller { type filter hook prerouting priority -301; policy accept;\n" + forged +
             " ether type 0x893a drop\n" + forged + " vlan id 0 vlan type 0x893a drop\n}\n";
  }
  return rules;
}

/// Throws std::system_error if not permitted. The library itself would exit if the kernel has no netfilter, and write
/// to the standard error if we lack the capability.
void ask_whether_allowed() {
  const nfgenmsg body{};
  netlink::Socket(0, NETLINK_NETFILTER)
      .run(netlink::Request(NFNL_SUBSYS_NFTABLES << 8U | NFT_MSG_GETGEN, NLM_F_ACK, body));
}

}  // namespace

void BridgeGuard::Free::operator()(nft_ctx* context) const { nft_ctx_free(context); }

BridgeGuard::BridgeGuard(const std::string& daemon) : table_("bridge " + table_of(daemon)) {}

BridgeGuard::~BridgeGuard() {
  if (context_ != nullptr) {
    run("delete table " + table_);
  }
}

std::optional<std::string> BridgeGuard::run(const std::string& commands) {
  if (context_ == nullptr) {
    ask_whether_allowed();
    context_.reset(nft_ctx_new(NFT_CTX_DEFAULT));
    nft_ctx_buffer_error(context_.get());
  }
  if (nft_run_cmd_from_buffer(context_.get(), commands.c_str()) == 0) {
    return std::nullopt;
  }
  const std::string text = nft_ctx_get_error_buffer(context_.get());
  return text.substr(0, text.find('\n'));  // a copy of the command follows
}

void BridgeGuard::guard(const Guarding& guarding) {
  const std::string remove = "delete table " + table_ + '\n';
  const std::string remove_if_any = "add table " + table_ + '\n' + remove;
  const auto make = [&](const char* flags) { return "table " + table_ + " {" + flags + rules_of(guarding) + "}\n"; };
  if (!guarding.is_needed()) {
    if (context_ != nullptr) {
      run(remove);
    } else if (!has_begun_) {
      try {
        run(remove_if_any);
      } catch (const std::system_error&) {  // if we may not remove a table, none was created
      }
    }
    context_.reset();
    has_begun_ = true;
    return;
  }
  const bool is_made = context_ != nullptr;
  // A bound table cannot be added again; another program may have removed one that is not bound.
  const std::optional<std::string> refusal = run((is_made ? remove : remove_if_any) + make("flags owner; "));
  if (refusal && run(remove_if_any + make(""))) {
    if (!is_made) {
      context_.reset();
    }
    throw std::runtime_error(*refusal);
  }
  has_begun_ = true;
}

}  // namespace meshd
