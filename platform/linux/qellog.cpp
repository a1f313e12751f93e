#include "qellog.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <map>
#include <new>
#include <string>
#include <string_view>

#include "platform/linux/export.h"
#include "platform/linux/message_target.h"

struct debughandle {
  std::string component;
  bool on = false;
};

namespace {

/// Standard error, written to without blocking. The descriptor, which other processes share, is not put into
/// non-blocking mode.
class StandardError {
 public:
  /// Returns true if all octets were accepted.
  bool write_line(std::string_view line) {
    look_at_descriptor();
    if (broken_line_ && put("\n") == 1) {
      broken_line_ = false;
    }
    const std::size_t taken = broken_line_ ? 0 : put(line);
    broken_line_ |= taken > 0 && taken < line.size();
    return taken == line.size();
  }

  /// True if the lines go to a service manager's log, which expects priority prefixes.
  bool wants_priorities() {
    look_at_descriptor();
    return wants_priorities_;
  }

  void close_own() {
    if (own_fd_ >= 0) {
      close(own_fd_);
      own_fd_ = -1;
    }
    device_ = 0;
    inode_ = 0;
  }

 private:
  // Standard error may be replaced at any time.
  void look_at_descriptor() {
    struct stat status;
    if (fstat(STDERR_FILENO, &status) != 0) {
      close_own();
      mode_ = 0;
      return;
    }
    if (status.st_dev == device_ && status.st_ino == inode_) {
      return;
    }
    close_own();
    device_ = status.st_dev;
    inode_ = status.st_ino;
    mode_ = status.st_mode & S_IFMT;
    if (mode_ == S_IFIFO || isatty(STDERR_FILENO) == 1) {
      own_fd_ = open("/proc/self/fd/2", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    }
    const char* journal = getenv("JOURNAL_STREAM");
    unsigned long long device = 0;
    unsigned long long inode = 0;
    wants_priorities_ = getenv("NOTIFY_SOCKET") != nullptr ||
                        (journal != nullptr && sscanf(journal, "%llu:%llu", &device, &inode) == 2 &&
                         device == device_ && inode == inode_);
  }

  std::size_t put(std::string_view octets) const {
    std::size_t done = 0;
    while (done < octets.size()) {
      const ssize_t taken = put_some(octets.substr(done));
      if (taken <= 0) {
        break;
      }
      done += static_cast<std::size_t>(taken);
    }
    return done;
  }

  ssize_t put_some(std::string_view octets) const {
    switch (mode_) {
      case 0:
        return -1;
      case S_IFSOCK:
        return send(STDERR_FILENO, octets.data(), octets.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
      case S_IFREG:
        return write(STDERR_FILENO, octets.data(), octets.size());
      default:
        break;
    }
    if (own_fd_ >= 0) {
      return write(own_fd_, octets.data(), octets.size());
    }
    pollfd writable = {STDERR_FILENO, POLLOUT, 0};
    if (poll(&writable, 1, 0) != 1) {
      return -1;
    }
    return write(STDERR_FILENO, octets.data(), std::min<std::size_t>(octets.size(), PIPE_BUF));
  }

  dev_t device_ = 0;
  ino_t inode_ = 0;
  mode_t mode_ = 0;
  int own_fd_ = -1;  ///< the same pipe or terminal, opened again as non-blocking
  bool wants_priorities_ = false;
  bool broken_line_ = false;
};

/// The system's log daemon. syslog(3) blocks if the daemon does not read; this class does not.
class SystemLog {
 public:
  bool write_line(int priority, std::string_view line) {
    static const char months[] = "JanFebMarAprMayJunJulAugSepOctNovDec";
    const time_t now = time(nullptr);
    tm local;
    localtime_r(&now, &local);
    char head[128];
    const int length =
        snprintf(head, sizeof head, "<%d>%.3s %2d %02d:%02d:%02d %.64s[%d]: ", LOG_DAEMON | priority,
                 &months[std::size_t{3} * static_cast<std::size_t>(local.tm_mon)], local.tm_mday, local.tm_hour,
                 local.tm_min, local.tm_sec, program_invocation_short_name, static_cast<int>(getpid()));
    datagram_.assign(head, static_cast<std::size_t>(length)).append(line);
    if (fd_ >= 0 && deliver()) {
      return true;
    }
    if (fd_ >= 0 && (errno == EAGAIN || errno == ENOBUFS || errno == EMSGSIZE)) {
      return false;
    }
    return connect_anew() && deliver();  // the daemon was started or restarted
  }

 private:
  bool deliver() const {
    return send(fd_, datagram_.data(), datagram_.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(datagram_.size());
  }

  bool connect_anew() {
    if (fd_ >= 0) {
      close(fd_);
    }
    const char* path = getenv("QELLOG_SYSLOG_SOCKET");
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "%s", path != nullptr ? path : "/dev/log");
    fd_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd_ >= 0 && connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
      close(fd_);
      fd_ = -1;
    }
    return fd_ >= 0;
  }

  int fd_ = -1;
  std::string datagram_;
};

class Messages {
 public:
  /// Kept until the process ends, for messages from static objects that are being destroyed.
  static Messages& get() {
    static Messages& messages = *new Messages;
    return messages;
  }

  debughandle* handle_of(const char* component) {
    const auto [place, is_new] = handles_.try_emplace(component);
    if (is_new) {
      place->second.component = component;
    }
    return &place->second;
  }

  void show(int priority, std::string_view start, std::string_view text) {
    while (true) {
      const std::size_t end = text.find('\n');
      line_.assign(start).append(text.substr(0, end));
      show_line(priority);
      if (end == std::string_view::npos || end + 1 == text.size()) {
        return;
      }
      text.remove_prefix(end + 1);
    }
  }

  void use_system_log() {
    to_system_log_ = true;
    standard_error_.close_own();
  }

  void count_lost() {
    ++lost_;
    ++unreported_;
  }
  unsigned long lost() const { return lost_; }

 private:
  void show_line(int priority) {
    if (unreported_ > 0) {
      const std::string report = std::to_string(unreported_) + " message lines lost";
      if (!write_line(LOG_WARNING, report)) {
        count_lost();
        return;
      }
      unreported_ = 0;
    }
    if (!write_line(priority, line_)) {
      count_lost();
    }
  }

  bool write_line(int priority, std::string_view line) {
    if (to_system_log_) {
      return system_log_.write_line(priority, line);
    }
    octets_.clear();
    if (standard_error_.wants_priorities()) {
      octets_.append("<").append(std::to_string(priority)).append(">");
    }
    octets_.append(line).append("\n");
    return standard_error_.write_line(octets_);
  }

  std::map<std::string, debughandle, std::less<>> handles_;
  StandardError standard_error_;
  SystemLog system_log_;
  bool to_system_log_ = false;
  unsigned long lost_ = 0;
  unsigned long unreported_ = 0;
  std::string line_;
  std::string octets_;
};

[[gnu::format(printf, 3, 0)]] void show_formatted(int priority, std::string_view start, const char* format,
                                                  va_list values) noexcept {
  Messages& messages = Messages::get();
  char small[1024];
  va_list again;
  va_copy(again, values);
  const int length = vsnprintf(small, sizeof small, format, values);
  try {
    if (length < 0) {
      messages.count_lost();
    } else if (static_cast<std::size_t>(length) < sizeof small) {
      messages.show(priority, start, {small, static_cast<std::size_t>(length)});
    } else {
      std::string large(static_cast<std::size_t>(length), '\0');
      vsnprintf(large.data(), large.size() + 1, format, again);
      messages.show(priority, start, large);
    }
  } catch (const std::bad_alloc&) {
    messages.count_lost();
  }
  va_end(again);
}

}  // namespace

void qel::platform::use_system_log() { Messages::get().use_system_log(); }

extern "C" {

QEL_EXPORT debughandle* debug_gethandle(const char* component) {
  try {
    return Messages::get().handle_of(component);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

QEL_EXPORT void debug_handle_set(debughandle* handle, int on) {
  if (handle != nullptr) {
    handle->on = on != 0;
  }
}

QEL_EXPORT int debug_handle_value(const debughandle* handle) { return handle != nullptr && handle->on ? 1 : 0; }

QEL_EXPORT void debugmsg(const debughandle* handle, const char* format, ...) {
  if (debug_handle_value(handle) == 0) {
    return;
  }
  va_list values;
  va_start(values, format);
  try {
    show_formatted(LOG_DEBUG, "DEBUG: " + handle->component + ": ", format, values);
  } catch (const std::bad_alloc&) {
    Messages::get().count_lost();
  }
  va_end(values);
}

QEL_EXPORT void infomsg(const char* format, ...) {
  va_list values;
  va_start(values, format);
  show_formatted(LOG_INFO, "", format, values);
  va_end(values);
}

QEL_EXPORT void errmsg(const char* format, ...) {
  va_list values;
  va_start(values, format);
  show_formatted(LOG_ERR, "ERROR: ", format, values);
  va_end(values);
}

QEL_EXPORT unsigned long qellog_lost(void) { return Messages::get().lost(); }

}  // extern "C"
