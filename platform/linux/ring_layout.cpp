#include "platform/linux/ring_layout.h"

#include <fcntl.h>
#include <sys/mman.h>

namespace qel::platform {

namespace {

struct flock whole_object(short type) {
  struct flock lock = {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  return lock;
}

}  // namespace

std::string object_name(const char* ring_name) {
  std::string name = "/";
  for (const char* c = ring_name; *c != '\0'; ++c) {
    if (*c == '/') {
      name += "%2F";
    } else if (*c == '%') {
      name += "%25";
    } else {
      name += *c;
    }
  }
  return name;
}

int open_object(const std::string& name, int flags) {
  return shm_open(name.c_str(), flags | O_NONBLOCK | O_CLOEXEC, 0);  // which never follows a link
}

bool has_writer(int fd) {
  struct flock lock = whole_object(F_RDLCK);
  return fcntl(fd, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

bool claim(int fd) {
  struct flock lock = whole_object(F_WRLCK);
  return fcntl(fd, F_OFD_SETLK, &lock) == 0;
}

}  // namespace qel::platform
