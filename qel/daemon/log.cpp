#include "qel/daemon/log.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "qellog.h"
#include "shringbuf.h"

namespace qel::debug {

namespace {

constexpr long LOG_STREAM_MARK = 0xABBA;

int mark_index() {
  static const int index = std::ios_base::xalloc();
  return index;
}

struct Settings {
  LogLevels level = LogLevels::DEBUG;
  bool all_debugs = false;
  std::unique_ptr<shringbuf, shringbuf_deleter> ring;
};

/// Never destroyed, because objects destroyed at process exit still log.
Settings& settings() {
  static Settings& settings = *new Settings;
  return settings;
}

/// Collects the text of one line; a flush ends the line.
class LineBuffer final : public std::stringbuf {
 public:
  LineBuffer(const std::string& component, std::ostream& stream)
      : std::stringbuf(std::ios_base::out),
        stream_(stream),
        handle_(debug_gethandle(component.c_str())),
        component_(component),
        line_(component + ": "),
        text_start_(line_.size()) {}

  debughandle* get_handle() const { return handle_; }
  void set_level(LogLevels level) { level_ = level; }

 protected:
  int sync() override {
    line_.resize(text_start_);
    line_ += view();
    line_.erase(std::remove(line_.begin() + static_cast<std::ptrdiff_t>(text_start_), line_.end(), '\0'), line_.end());
    if (line_.size() > text_start_ && line_.back() == '\n') {
      line_.pop_back();
    }
    emit(line_.c_str() + text_start_);
    if (shringbuf* ring = get_shringbuf()) {
      shringbuf_add(ring, "%s", line_.c_str());
    }
    str(std::string());
    level_ = LogLevels::DEBUG;
    restore_format();
    return 0;
  }

 private:
  void emit(const char* text) const {
    switch (level_) {
      case LogLevels::DEBUG:
        debugmsg(handle_, "%s", text);
        break;
      case LogLevels::NOTE:
        infomsg("NOTE: %s: %s", component_.c_str(), text);
        break;
      case LogLevels::LOG:
        infomsg("LOG: %s: %s", component_.c_str(), text);
        break;
      case LogLevels::ERROR:
        errmsg("%s: %s", component_.c_str(), text);
        break;
    }
  }

  void restore_format() const {
    static const std::ios fresh(nullptr);
    stream_.flags(fresh.flags());
    stream_.precision(fresh.precision());
    stream_.width(fresh.width());
    stream_.fill(fresh.fill());
  }

  std::ostream& stream_;
  debughandle* handle_;
  LogLevels level_ = LogLevels::DEBUG;
  std::string component_;
  /// The component, ": " and the text of the line being emitted; kept to reuse its memory.
  std::string line_;
  std::size_t text_start_;
};

class LogStream final : public std::ostream {
 public:
  explicit LogStream(const std::string& component) : std::ostream(nullptr), buffer_(component, *this) {
    rdbuf(&buffer_);
    iword(mark_index()) = LOG_STREAM_MARK;
  }

  debughandle* get_handle() const { return buffer_.get_handle(); }

 private:
  LineBuffer buffer_;
};

LogStream& find_stream(std::string_view component) {
  // Never destroyed, like the settings.
  static auto& streams = *new std::map<std::string, std::unique_ptr<LogStream>, std::less<>>;
  auto found = streams.find(component);
  if (found == streams.end()) {
    std::string name(component);
    auto made = std::make_unique<LogStream>(name);
    found = streams.emplace(std::move(name), std::move(made)).first;
  }
  return *found->second;
}

}  // namespace

std::string loglevels_to_string(LogLevels level) {
  switch (level) {
    case LogLevels::NOTE:
      return "NOTE";
    case LogLevels::DEBUG:
      return "DEBUG";
    case LogLevels::LOG:
      return "LOG";
    case LogLevels::ERROR:
      return "ERROR";
  }
  return "INVALID_LOG_LEVEL";
}

LogLevels string_to_loglevels(const std::string& text) {
  for (const LogLevels level : {LogLevels::NOTE, LogLevels::DEBUG, LogLevels::LOG, LogLevels::ERROR}) {
    if (text == loglevels_to_string(level)) {
      return level;
    }
  }
  throw std::out_of_range("map::at");
}

std::ostream& operator<<(std::ostream& os, LogLevels level) {
  if (os.iword(mark_index()) == LOG_STREAM_MARK) {
    // copyfmt() also copies the mark to other streams.
    if (auto* line = dynamic_cast<LineBuffer*>(os.rdbuf())) {
      line->set_level(level);
      return os;
    }
  }
  return os << loglevels_to_string(level);
}

std::ostream& stream(std::string_view component) {
  LogStream& found = find_stream(component);
  found.clear();
  return found;
}

void enable(const std::string& component, bool enabled) {
  debug_handle_set(find_stream(component).get_handle(), enabled ? 1 : 0);
}

void set_log_level(LogLevels level) { settings().level = level; }

LogLevels get_log_level() { return settings().level; }

void set_log_all_debugs(bool all) { settings().all_debugs = all; }

bool get_log_all_debugs() { return settings().all_debugs; }

void shringbuf_deleter::operator()(shringbuf* ring) const { shringbuf_deinit(ring); }

void set_shringbuf(std::unique_ptr<shringbuf, shringbuf_deleter> ring) {
  // Frees the last ring at process exit, later than any static object constructed after the first ring was set.
  static const struct Cleanup {
    ~Cleanup() { settings().ring.reset(); }
  } cleanup;
  settings().ring = std::move(ring);
}

shringbuf* get_shringbuf() { return settings().ring.get(); }

}  // namespace qel::debug
