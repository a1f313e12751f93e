#include "tools/meshctl/web/server.h"

#include <fcntl.h>
#include <microhttpd.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/meshctl/web/listen_address.h"
#include "tools/meshctl/web/order_request.h"
#include "tools/meshctl/web/page.h"

namespace meshctl::web {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr unsigned MOST_CONNECTIONS = 64;         // more wait in the kernel
constexpr std::size_t MOST_STREAMS = 16;          // each may hold a topology that nobody else needs any more
constexpr std::size_t CONNECTION_MEMORY = 32768;  // octets, for the request and the head of its answer
constexpr std::size_t STREAM_BLOCK = 16384;       // octets
constexpr unsigned SILENCE = 10;                  // seconds in which a peer must take or send something
constexpr auto REQUEST_TIME = 10s;                // for a request and its answer, without the time of an order
constexpr auto BEAT = 5s;                         // what a stream sends at least, so that a lost peer is noticed

/// A page of another site cannot use ours: nothing but our own script runs, and nothing is embedded or embeds us.
constexpr const char* POLICY =
    "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; img-src data:; base-uri 'none'; "
    "form-action 'none'; frame-ancestors 'none'";

const Message& heartbeat() {
  static const Message message = std::make_shared<const std::string>(":\n\n");
  return message;
}

std::string header(MHD_Connection* connection, const char* name) {
  const char* value = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
  return value != nullptr ? value : "";
}

/// An argument of the request, which may contain NUL; empty if it has a name only.
std::optional<std::string> argument(MHD_Connection* connection, const char* name) {
  const char* value = nullptr;
  std::size_t size = 0;
  if (MHD_lookup_connection_value_n(connection, MHD_GET_ARGUMENT_KIND, name, std::strlen(name), &value, &size) !=
      MHD_YES) {
    return std::nullopt;
  }
  return value != nullptr ? std::string(value, size) : std::string();
}

/// Sends the response and gives it up. `allowed` are the methods if the request has another one.
MHD_Result send(MHD_Connection* connection, unsigned status, MHD_Response* response, const char* type,
                const char* allowed = nullptr) {
  if (response == nullptr) {
    return MHD_NO;  // ends the connection
  }
  const std::pair<const char*, const char*> headers[] = {{"Content-Type", type},
                                                         {"Content-Security-Policy", POLICY},
                                                         {"Cross-Origin-Resource-Policy", "same-origin"},
                                                         {"Cross-Origin-Opener-Policy", "same-origin"},
                                                         {"X-Content-Type-Options", "nosniff"},
                                                         {"Referrer-Policy", "no-referrer"},
                                                         {"Cache-Control", "no-store"},
                                                         {"Connection", "close"}};
  for (const auto& [name, value] : headers) {
    MHD_add_response_header(response, name, value);
  }
  if (allowed != nullptr) {
    MHD_add_response_header(response, "Allow", allowed);
  }
  const MHD_Result result = MHD_queue_response(connection, status, response);
  MHD_destroy_response(response);
  return result;
}

MHD_Result send_text(MHD_Connection* connection, unsigned status, std::string_view text, const char* type,
                     const char* allowed = nullptr) {
  // The library only reads it.
  void* const octets = const_cast<char*>(text.data());
  return send(connection, status, MHD_create_response_from_buffer(text.size(), octets, MHD_RESPMEM_MUST_COPY), type,
              allowed);
}

MHD_Result refuse(MHD_Connection* connection, unsigned status, const std::string& reason,
                  const char* allowed = nullptr) {
  return send_text(connection, status, reason + '\n', "text/plain; charset=utf-8", allowed);
}

/// Whether a page of another site made the request. It may lead to our page, which the browser then shows, but do
/// nothing else. Only a browser sends these headers.
bool is_from_elsewhere(MHD_Connection* connection, std::string_view path) {
  const std::string site = header(connection, "Sec-Fetch-Site");
  const bool is_own = site.empty() || site == "same-origin";
  if (is_order(path)) {
    const std::string origin = header(connection, "Origin");
    return !is_own || (!origin.empty() && origin != "http://" + header(connection, "Host"));
  }
  return !is_own && site != "none" && path != "/";
}

bool has_body(MHD_Connection* connection) {
  const std::string length = header(connection, "Content-Length");
  return (!length.empty() && length != "0") || !header(connection, "Transfer-Encoding").empty();
}

unsigned status_of(Orders::Outcome::Kind kind) {
  switch (kind) {
    case Orders::Outcome::Kind::ENDED:
      return MHD_HTTP_OK;
    case Orders::Outcome::Kind::REFUSED:
      return MHD_HTTP_CONFLICT;
    case Orders::Outcome::Kind::UNKNOWN:
      break;
  }
  return MHD_HTTP_SERVICE_UNAVAILABLE;
}

}  // namespace

/// A connection.
struct Server::Client {
  MHD_Connection* connection;
  Clock::time_point since = Clock::now();
  bool is_stream = false;
  std::optional<Clock::time_point> asked_at = std::nullopt;  ///< for a topology
  bool is_ordering = false;                                  ///< and the order has not ended
  std::optional<Orders::Outcome> outcome = std::nullopt;     ///< of its order
};

/// An event stream, which takes from the feed at its own pace.
struct Server::Stream {
  Server* server;
  MHD_Connection* connection;
  Feed::Place place = {};
  Message message = nullptr;  ///< that is being sent
  std::size_t sent = 0;       ///< octets of it
  Clock::time_point last = Clock::now();
  bool is_suspended = false;

  Stream(Server* owner, MHD_Connection* to) : server(owner), connection(to) { server->streams_.insert(this); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  ~Stream() { server->streams_.erase(this); }
};

struct Server::Http {
  static MHD_Daemon* daemon(const Server& server) { return static_cast<MHD_Daemon*>(server.daemon_.get()); }

  static void on_connection(void* self, MHD_Connection* connection, void** place, MHD_ConnectionNotificationCode code) {
    Server& server = *static_cast<Server*>(self);
    if (code == MHD_CONNECTION_NOTIFY_STARTED) {
      *place = *server.clients_.insert(new Client{connection}).first;
    } else if (auto* const client = static_cast<Client*>(*place)) {
      server.clients_.erase(client);
      server.waiting_.erase(client);
      delete client;
    }
  }

  static Client& client_of(MHD_Connection* connection) {
    return *static_cast<Client*>(
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT)->socket_context);
  }

  static MHD_Result on_request(void* self, MHD_Connection* connection, const char* url, const char* method, const char*,
                               const char*, std::size_t*, void**) {
    return answer(*static_cast<Server*>(self), connection, url, method);
  }

  static MHD_Result answer(Server& server, MHD_Connection* connection, std::string_view path, std::string_view method) {
    if (!is_own_host(header(connection, "Host"))) {
      return refuse(connection, MHD_HTTP_MISDIRECTED_REQUEST,
                    "This server answers to IP addresses and localhost only.");
    }
    if (is_order(path) && method != "POST") {
      return refuse(connection, MHD_HTTP_METHOD_NOT_ALLOWED, "Orders are posted.", "POST");
    }
    if (!is_order(path) && method != "GET" && method != "HEAD") {
      return refuse(connection, MHD_HTTP_METHOD_NOT_ALLOWED, "There is nothing to change here.", "GET, HEAD");
    }
    if (is_from_elsewhere(connection, path)) {
      return refuse(connection, MHD_HTTP_FORBIDDEN, "Pages of other sites get nothing here.");
    }
    if (is_order(path)) {
      return take_order(server, connection, path);
    }
    if (path == "/") {
      return send_text(connection, MHD_HTTP_OK, page::for_server(), "text/html; charset=utf-8");
    }
    if (path == "/script.js") {
      return send_text(connection, MHD_HTTP_OK, page::script(), "text/javascript; charset=utf-8");
    }
    if (path == "/style.css") {
      return send_text(connection, MHD_HTTP_OK, page::style(), "text/css; charset=utf-8");
    }
    if (path == "/topology.json") {
      return send_topology(server, connection);
    }
    if (path == "/events") {
      return send_events(server, connection);
    }
    return refuse(connection, MHD_HTTP_NOT_FOUND, "There is no such page here.");
  }

  /// Called again when the order has ended.
  static MHD_Result take_order(Server& server, MHD_Connection* connection, std::string_view path) {
    Client& client = client_of(connection);
    if (client.outcome) {
      const auto& [kind, text] = *client.outcome;
      return kind == Orders::Outcome::Kind::ENDED ? send_text(connection, status_of(kind), text, "application/json")
                                                  : refuse(connection, status_of(kind), text);
    }
    if (server.actions_ == nullptr) {
      return refuse(connection, MHD_HTTP_FORBIDDEN, "This server was started without --allow-actions.");
    }
    if (!server.actions_->token.matches(header(connection, "X-Mesh-Token"))) {
      return refuse(connection, MHD_HTTP_FORBIDDEN, "The address that the server printed has the token.");
    }
    if (has_body(connection)) {
      return refuse(connection, MHD_HTTP_BAD_REQUEST, "An order has no body.");
    }
    try {
      return give_order(server, client,
                        order_words(path, [connection](const char* name) { return argument(connection, name); }));
    } catch (const std::invalid_argument& error) {
      return refuse(connection, MHD_HTTP_BAD_REQUEST, error.what());
    }
  }

  /// The connection is suspended meanwhile, so it lasts as long as its order.
  static MHD_Result give_order(Server& server, Client& client, std::vector<std::string> words) {
    if (server.actions_->orders.is_full()) {
      return refuse(client.connection, MHD_HTTP_SERVICE_UNAVAILABLE, "Too many orders are being carried out.");
    }
    client.is_ordering = true;
    MHD_suspend_connection(client.connection);
    server.actions_->orders.start(std::move(words), [&server, &client](Orders::Outcome outcome) {
      client.outcome = std::move(outcome);
      client.since = Clock::now();
      end_order(client);
      server.feed_.refresh();
      server.run_timer_.start(0ms, [&server] { server.run(); });
    });
    return MHD_YES;
  }

  static void end_order(Client& client) {
    if (std::exchange(client.is_ordering, false)) {
      MHD_resume_connection(client.connection);
    }
  }

  /// Called again when the daemon has answered.
  static MHD_Result send_topology(Server& server, MHD_Connection* connection) {
    if (const std::string_view topology = server.feed_.recent_topology(); !topology.empty()) {
      return send_text(connection, MHD_HTTP_OK, topology, "application/json");
    }
    Client& client = client_of(connection);
    if (!client.asked_at) {
      client.asked_at = Clock::now();
      server.waiting_.insert(&client);
      MHD_suspend_connection(connection);
      server.feed_.want();
      return MHD_YES;
    }
    const std::string& reason = server.feed_.reason();
    return refuse(connection, MHD_HTTP_SERVICE_UNAVAILABLE, reason.empty() ? "The daemon is slow." : reason);
  }

  static MHD_Result send_events(Server& server, MHD_Connection* connection) {
    if (server.streams_.size() >= MOST_STREAMS) {
      return refuse(connection, MHD_HTTP_SERVICE_UNAVAILABLE, "Too many pages are open.");
    }
    client_of(connection).is_stream = true;
    server.feed_.want();
    auto* const stream = new Stream(&server, connection);
    return send(connection, MHD_HTTP_OK,
                MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, STREAM_BLOCK, read_stream, stream, end_stream),
                "text/event-stream; charset=utf-8");
  }

  static ssize_t read_stream(void* context, std::uint64_t, char* buffer, std::size_t size) {
    Stream& stream = *static_cast<Stream*>(context);
    if (stream.message == nullptr) {
      stream.message = stream.server->feed_.next(stream.place);
      if (stream.message == nullptr && Clock::now() - stream.last >= BEAT) {
        stream.message = heartbeat();
      }
    }
    if (stream.message == nullptr) {
      stream.is_suspended = true;
      MHD_suspend_connection(stream.connection);
      return 0;
    }
    stream.last = Clock::now();
    const std::size_t count = stream.message->copy(buffer, size, stream.sent);
    stream.sent += count;
    if (stream.sent == stream.message->size()) {
      stream.message = nullptr;
      stream.sent = 0;
    }
    return static_cast<ssize_t>(count);
  }

  static void end_stream(void* context) { delete static_cast<Stream*>(context); }

  static void resume(Stream& stream) {
    if (std::exchange(stream.is_suspended, false)) {
      MHD_resume_connection(stream.connection);
    }
  }

  static void resume_waiting(Server& server) {
    for (const Client* client : std::exchange(server.waiting_, {})) {
      MHD_resume_connection(client->connection);
    }
  }

  /// Makes the library notice that the connection is over.
  static void cut(const Client& client) {
    const auto* const information = MHD_get_connection_info(client.connection, MHD_CONNECTION_INFO_CONNECTION_FD);
    shutdown(information->connect_fd, SHUT_RDWR);
  }
};

void Server::Stopper::operator()(void* daemon) const { MHD_stop_daemon(static_cast<MHD_Daemon*>(daemon)); }

namespace {

/// The library's epoll descriptor, which is readable when any of its sockets needs it.
class Watch final : public qel::daemon::ISimpleFDWatch {
 public:
  Watch(int descriptor, std::function<void()> run) : ISimpleFDWatch(descriptor, "http"), run_(std::move(run)) {}
  void on_readable() override { run_(); }
  void on_writable() override {}

 private:
  std::function<void()> run_;
};

}  // namespace

Server::Server(const qel::FileDescriptor& socket, Feed& feed, Actions* actions) : feed_(feed), actions_(actions) {
  daemon_.reset(MHD_start_daemon(MHD_USE_EPOLL | MHD_ALLOW_SUSPEND_RESUME, 0, nullptr, nullptr, Http::on_request, this,
                                 MHD_OPTION_LISTEN_SOCKET, fcntl(socket.get(), F_DUPFD_CLOEXEC, 0),  // its own
                                 MHD_OPTION_CONNECTION_LIMIT, MOST_CONNECTIONS,                      //
                                 MHD_OPTION_CONNECTION_MEMORY_LIMIT, CONNECTION_MEMORY,              //
                                 MHD_OPTION_CONNECTION_TIMEOUT, SILENCE,                             //
                                 MHD_OPTION_NOTIFY_CONNECTION, Http::on_connection, this,            //
                                 MHD_OPTION_STRICT_FOR_CLIENT, 1,                                    //
                                 MHD_OPTION_END));
  const MHD_DaemonInfo* const information =
      daemon_ != nullptr ? MHD_get_daemon_info(Http::daemon(*this), MHD_DAEMON_INFO_EPOLL_FD) : nullptr;
  if (information == nullptr) {
    throw std::runtime_error("cannot start the web server");
  }
  watch_ = std::make_shared<Watch>(information->epoll_fd, [this] { run(); });
  watch_->add_to_evsock();
  feed_changed_ = feed_.changed.connect([this] { wake_timer_.start(0ms, [this] { wake(); }); });
  sweep();
}

Server::~Server() {
  watch_->remove_from_evsock();
  std::ranges::for_each(streams_, [](Stream* stream) { Http::resume(*stream); });
  std::ranges::for_each(clients_, [](Client* client) { Http::end_order(*client); });
  Http::resume_waiting(*this);
}

void Server::run() {
  MHD_run(Http::daemon(*this));
  MHD_UNSIGNED_LONG_LONG wait = 0;
  if (MHD_get_timeout(Http::daemon(*this), &wait) == MHD_YES) {
    run_timer_.start(std::chrono::milliseconds(wait), [this] { run(); });
  } else {
    run_timer_.stop();
  }
}

/// There is something new for those who wait.
void Server::wake() {
  for (Stream* stream : streams_) {
    Http::resume(*stream);
  }
  if (!feed_.recent_topology().empty() || feed_.has_failed()) {
    Http::resume_waiting(*this);
  }
  run();
}

/// Once a second: keeps the feed going for the streams, and ends connections that take too long.
void Server::sweep() {
  sweep_timer_.start(1s, [this] { sweep(); });
  const Clock::time_point now = Clock::now();
  if (!streams_.empty()) {
    feed_.want();
  }
  for (const Client* client : clients_) {
    if (!client->is_stream && !client->is_ordering && now - client->since > REQUEST_TIME) {
      Http::cut(*client);
    }
  }
  wake();
}

}  // namespace meshctl::web
