#include "tools/meshctl/log_reader.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <stdexcept>

#include "shringbuf.h"

namespace meshctl {

namespace {

constexpr std::size_t LONGEST_LINE = 65536;  // no ring is larger

}  // namespace

void LogReader::Closer::operator()(shringbuf_reader* reader) const { shringbuf_detach(reader); }

LogReader::LogReader(const std::string& daemon)
    : reader_(shringbuf_attach((daemon + "_log").c_str())), buffer_(LONGEST_LINE, '\0') {
  if (reader_ == nullptr) {
    throw std::runtime_error(errno == ENOENT ? "there is no log of a daemon of the name '" + daemon + "'"
                                             : "cannot read the log of '" + daemon + "': " + std::strerror(errno));
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
  const auto seconds = static_cast<std::time_t>(time / SECOND);
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  std::array<char, 32> date{};
  std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &parts);
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), "%s.%06dZ", date.data(), static_cast<int>(time % SECOND));
  return text.data();
}

}  // namespace meshctl
