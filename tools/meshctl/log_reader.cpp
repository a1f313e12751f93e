#include "tools/meshctl/log_reader.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <stdexcept>

#include "shringbuf.h"

namespace meshctl {

namespace {

constexpr std::size_t LONGEST_LINE = 65536;  // no main loop has a larger ring

/// Anyone who can create shared memory can create a ring of any name. Trusted are the caller, and those who may own the
/// name on the message bus.
constexpr const char* TRUSTED_GROUP = "mesh";

bool is_trusted(uid_t owner, gid_t group) {
  if (owner == 0 || owner == geteuid()) {
    return true;
  }
  const ::group* trusted = getgrnam(TRUSTED_GROUP);
  return trusted != nullptr && group == trusted->gr_gid;
}

std::string name_of(uid_t user) {
  const passwd* entry = getpwuid(user);
  return entry != nullptr ? entry->pw_name : std::to_string(user);
}

}  // namespace

void LogReader::Closer::operator()(shringbuf_reader* reader) const { shringbuf_detach(reader); }

LogReader::LogReader(const std::string& daemon)
    : reader_(shringbuf_attach((daemon + "_log").c_str())), buffer_(LONGEST_LINE, '\0') {
  if (reader_ == nullptr) {
    throw std::runtime_error(errno == ENOENT ? "there is no log of a daemon named '" + daemon + "'"
                                             : "cannot read the log of '" + daemon + "': " + std::strerror(errno));
  }
  uid_t owner = 0;
  gid_t group = 0;
  if (shringbuf_owner(reader_.get(), &owner, &group) < 0 || !is_trusted(owner, group)) {
    throw std::runtime_error("the log of '" + daemon + "' belongs to " + name_of(owner) +
                             ", not to root, to you or to the group " + TRUSTED_GROUP);
  }
}

std::optional<LogLine> LogReader::next() {
  LogLine line{};
  if (shringbuf_read(reader_.get(), buffer_.data(), buffer_.size(), &line.time, &line.lost) != 1) {
    return std::nullopt;
  }
  line.text = buffer_.c_str();
  return line;
}

bool LogReader::is_written() const { return shringbuf_writer_alive(reader_.get()) != 0; }

std::string time_text(std::int64_t time) {
  constexpr std::int64_t SECOND = 1'000'000;
  const std::int64_t fraction = (time % SECOND + SECOND) % SECOND;
  const auto seconds = static_cast<std::time_t>((time - fraction) / SECOND);
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  std::array<char, 32> date{};
  std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &parts);
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), "%s.%06dZ", date.data(), static_cast<int>(fraction));
  return text.data();
}

}  // namespace meshctl
