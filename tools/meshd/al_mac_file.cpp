#include "tools/meshd/al_mac_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <system_error>

#include "qel/net/file_descriptor.h"

namespace meshd {

namespace {

void require(bool succeeded, const std::string& path) {
  if (!succeeded) {
    throw std::system_error(errno, std::generic_category(), path);
  }
}

}  // namespace

AlMacFile::AlMacFile(const std::string& directory, const std::string& daemon)
    : path_(directory.empty() ? "" : directory + '/' + daemon + ".al_mac") {}

std::optional<qel::MACAddress> AlMacFile::read() const {
  std::string text;
  qel::MACAddress al_mac;
  if (path_.empty() || !std::getline(std::ifstream(path_), text) || !al_mac.parse_string(text) ||
      !is_valid_individual_mac_address(al_mac)) {
    return std::nullopt;
  }
  return al_mac;
}

void AlMacFile::write(const qel::MACAddress& al_mac) const {
  if (path_.empty() || read() == al_mac) {
    return;
  }
  const std::string text = al_mac.to_string() + '\n';
  const std::string path = path_ + ".new";
  qel::FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0644));
  require(file.get() >= 0, path);
  require(::write(file.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size()), path);
  require(::fsync(file.get()) == 0, path);
  require(std::rename(path.c_str(), path_.c_str()) == 0, path_);
}

}  // namespace meshd
