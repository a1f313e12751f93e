// The policy of packaging/dbus/org.qel.ipc.conf, added to that of a system bus.

#include <grp.h>
#include <systemd/sd-bus.h>

#include "tests/platform/children.h"
#include "tests/platform/ipc.h"
#include "tests/platform/private_bus.h"
#include "tests/platform/turns.h"

namespace {

constexpr char BUS_INTERFACE[] = "org.qel.ipc.Endpoint1";
constexpr char STRANGER[] = "com.example.Stranger";

struct CloseBus {
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
using Bus = std::unique_ptr<sd_bus, CloseBus>;
using Inbox = std::vector<std::string>;

void note(qelipc*, const char*, void* data, unsigned size, void* inbox) {
  static_cast<Inbox*>(inbox)->emplace_back(static_cast<const char*>(data), size);
}

void note_of_client(void* inbox, const char*, const char*, const void* data, unsigned size) {
  note(nullptr, nullptr, const_cast<void*>(data), size, inbox);
}

Client listener(Inbox& inbox) {
  Client client(qelipc_client_open());
  EXPECT_EQ(qelipc_client_subscribe(client.get(), "root", note_of_client, &inbox), 0);
  return client;
}

std::string policies_in(const char* path) {
  std::ifstream file(path);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const std::size_t begin = text.find("<policy");
  return begin == std::string::npos ? "" : text.substr(begin, text.rfind("</policy>") + 9 - begin);
}

Bus connect() {
  sd_bus* bus = nullptr;
  EXPECT_GE(sd_bus_new(&bus), 0);
  EXPECT_GE(sd_bus_set_address(bus, getenv("QELIPC_BUS_ADDRESS")), 0);
  EXPECT_GE(sd_bus_set_bus_client(bus, 1), 0);
  EXPECT_GE(sd_bus_start(bus), 0);
  return Bus(bus);
}

/// Returns true if the bus lets the call through; the callee may still refuse it.
bool may_call(sd_bus* bus, const char* destination, const char* interface, const char* member) {
  sd_bus_message *call = nullptr, *reply = nullptr;
  EXPECT_GE(sd_bus_message_new_method_call(bus, &call, destination, "/org/qel/ipc/root", interface, member), 0);
  const int result = sd_bus_call(bus, call, 0, nullptr, &reply);
  EXPECT_NE(result, -ETIMEDOUT);
  sd_bus_message_unref(call);
  sd_bus_message_unref(reply);
  return result != -EACCES;
}

/// Sends events to everyone, and to each connection by its own name.
void forge_events(sd_bus* bus) {
  char** names = nullptr;
  ASSERT_GE(sd_bus_list_names(bus, &names, nullptr), 0);
  for (char** name = names;; ++name) {
    sd_bus_message* event = nullptr;
    ASSERT_GE(sd_bus_message_new_signal(bus, &event, "/org/qel/ipc/root", BUS_INTERFACE, "Event"), 0);
    sd_bus_message_append(event, "s", "up");
    sd_bus_message_append_array(event, 'y', "forged", 6);
    if (*name == nullptr || **name == ':') {
      EXPECT_GE(sd_bus_send_to(bus, event, *name, nullptr), 0);
    }
    sd_bus_message_unref(event);
    if (*name == nullptr) {
      break;
    }
    free(*name);
  }
  free(names);
}

int act(gid_t group, bool is_member) {
  if (setgroups(0, nullptr) != 0 || setgid(group) != 0 || setuid(65534) != 0) {
    return 2;
  }
  const Bus bus = connect();
  const char* unique = nullptr;
  sd_bus_creds* owner = nullptr;
  EXPECT_GE(sd_bus_get_name_creds(bus.get(), "org.qel.ipc.root", SD_BUS_CREDS_UNIQUE_NAME, &owner), 0);
  EXPECT_GE(sd_bus_creds_get_unique_name(owner, &unique), 0);
  const struct {
    const char *destination, *interface, *member;
  } calls[] = {{"org.qel.ipc.root", BUS_INTERFACE, "Command"},
               {"org.qel.ipc.root", nullptr, "Command"},
               {"org.qel.ipc.root", "org.freedesktop.DBus.Properties", "GetAll"},
               {"org.qel.ipc.root", "org.freedesktop.DBus.Peer", "Ping"},
               {unique, BUS_INTERFACE, "Command"},
               {unique, nullptr, "Command"},
               {STRANGER, STRANGER, "Hello"},
               {STRANGER, nullptr, "Hello"}};
  Inbox inbox;
  const Client client = listener(inbox);
  for (const auto& call : calls) {
    EXPECT_EQ(may_call(bus.get(), call.destination, call.interface, call.member),
              is_member || call.destination == STRANGER)
        << call.destination << ' ' << (call.interface != nullptr ? call.interface : "-") << ' ' << call.member;
  }
  while (qelipc_client_wait(client.get(), 0) == 1) {
  }
  EXPECT_EQ(inbox.empty(), !is_member) << "the answers of the stranger followed events";
  sd_bus_creds_unref(owner);

  const Endpoint own(qelipc_create("other"));
  EXPECT_EQ(own ? 0 : errno, is_member ? 0 : EACCES);
  for (const char* name : {"org.qel.ipc", "org.qel.ipc.root"}) {
    EXPECT_EQ(sd_bus_request_name(bus.get(), name, SD_BUS_NAME_QUEUE) < 0, !is_member) << name;
  }
  if (is_member) {
    EXPECT_EQ(qelipc_event_send(own.get(), "up", "member", 6), 0);
  } else {
    forge_events(bus.get());
  }
  return sd_bus_flush(bus.get()) < 0 ? 3 : 0;
}

TEST(BusPolicy, RootAndTheGroupMayAndStrangersAreAsBefore) {
  const std::string system_bus = policies_in("/usr/share/dbus-1/system.conf");
  if (getuid() != 0 || system_bus.empty()) {
    GTEST_SKIP() << "needs root, to become others, and the configuration of a system bus";
  }
  // As shipped, but with a group that every machine has, and after another service whose policy allows too much.
  std::string policy = policies_in(QEL_BUS_POLICY);
  const std::size_t group = policy.find("group=\"mesh\"");
  ASSERT_NE(group, std::string::npos);
  policy.replace(group, 12, "group=\"daemon\"");
  const PrivateBus private_bus(system_bus +
                               "<policy context=\"default\"><allow own=\"com.example.Stranger\"/>"
                               "<allow send_destination=\"com.example.Stranger\"/>"
                               "<allow send_interface=\"org.freedesktop.DBus.Properties\"/></policy>" +
                               policy);
  ASSERT_EQ(evsock_init(), 0);
  Inbox endpoint_inbox, client_inbox;
  const Endpoint first(qelipc_create("first"));
  Endpoint root(qelipc_create("root"));
  ASSERT_TRUE(first && root);
  EXPECT_EQ(qelipc_event_register_notifier(root.get(), "up", note, &endpoint_inbox), 0);
  const Client client = listener(client_inbox);
  const Bus stranger = connect();
  ASSERT_GE(sd_bus_request_name(stranger.get(), STRANGER, 0), 0);
  const sd_bus_message_handler_t greet = [](sd_bus_message* message, void* ipc, sd_bus_error*) {
    if (sd_bus_message_is_method_call(message, nullptr, "Hello") == 0) {
      return 0;
    }
    EXPECT_EQ(qelipc_event_send(static_cast<qelipc*>(ipc), "up", "real", 4), 0);
    return sd_bus_reply_method_return(message, "");
  };
  ASSERT_GE(sd_bus_add_filter(stranger.get(), nullptr, greet, root.get()), 0);
  Watch of_stranger{[&] {
    while (sd_bus_process(stranger.get(), nullptr) > 0) {
    }
  }};
  of_stranger.add(sd_bus_get_fd(stranger.get()));
  of_stranger.readable();

  const struct group* members = getgrnam("daemon");
  ASSERT_NE(members, nullptr);
  for (const bool is_member : {false, true}) {
    const pid_t caller = start_child([&] { return act(is_member ? members->gr_gid : 65534, is_member); });
    int status = -1;
    EXPECT_TRUE(turn_until([&] { return waitpid(caller, &status, WNOHANG) == caller; }));
    EXPECT_EQ(status, 0) << (is_member ? "member" : "nobody");
  }
  EXPECT_EQ(qelipc_event_send(root.get(), "up", "end", 3), 0);
  EXPECT_TRUE(turn_until([&] { return !endpoint_inbox.empty() && endpoint_inbox.back() == "end"; }));
  while (client_inbox.empty() || client_inbox.back() != "end") {
    ASSERT_EQ(qelipc_client_wait(client.get(), 20000), 1);
  }
  for (const Inbox& inbox : {endpoint_inbox, client_inbox}) {
    EXPECT_THAT(inbox, AllOf(Contains("real"), Contains("end"), Each(Not("forged"))));
  }
  EXPECT_THAT(endpoint_inbox, Contains("member"));
  root.reset();
  evsock_exit();
}

}  // namespace
