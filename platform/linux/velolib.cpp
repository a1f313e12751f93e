#include "velolib.h"

#include <stdlib.h>
#include <sys/sysinfo.h>

// After stdlib.h, because it uses size_t without declaring it.
// clang-format off
#include <libuboot.h>
// clang-format on

#include <fstream>
#include <new>
#include <optional>
#include <string>

#include "platform/linux/export.h"

namespace {

constexpr unsigned long long LITTLE_RAM = 128ull * 1024 * 1024;

const char* environment_or(const char* name, const char* otherwise) {
  const char* value = getenv(name);
  return value != nullptr ? value : otherwise;
}

/// The U-Boot environment of the machine, opened for one lookup.
class BootEnvironment {
 public:
  BootEnvironment() {
    const char* config = environment_or("QELVELO_FW_ENV_CONFIG", "/etc/fw_env.config");
    if (libuboot_initialize(&context_, nullptr) != 0) {
      context_ = nullptr;
      return;
    }
    readable_ = libuboot_read_config(context_, config) == 0 && libuboot_open(context_) == 0;
  }
  BootEnvironment(const BootEnvironment&) = delete;
  BootEnvironment& operator=(const BootEnvironment&) = delete;
  ~BootEnvironment() {
    if (readable_) {
      libuboot_close(context_);
    }
    if (context_ != nullptr) {
      libuboot_exit(context_);
    }
  }

  bool readable() const { return readable_; }

  std::optional<std::string> get(const char* name) const {
    char* value = libuboot_get_env(context_, name);
    if (value == nullptr) {
      return std::nullopt;
    }
    std::string copy(value);
    free(value);
    return copy;
  }

 private:
  uboot_ctx* context_ = nullptr;
  bool readable_ = false;
};

std::optional<std::string> get_from_text(const std::string& name) {
  std::ifstream file(environment_or("QELVELO_ENV_FILE", "/etc/qel/bootenv"));
  std::string line;
  while (std::getline(file, line)) {
    if (!line.empty() && line.back() == '\r') {
      line.pop_back();
    }
    if (line.size() > name.size() && line[0] != '#' && line[name.size()] == '=' &&
        line.compare(0, name.size(), name) == 0) {
      return line.substr(name.size() + 1);
    }
  }
  return std::nullopt;
}

}  // namespace

extern "C" {

QEL_EXPORT int veloenv_VeloHasLittleRAM(void) {
  struct sysinfo info;
  return sysinfo(&info) == 0 && static_cast<unsigned long long>(info.totalram) * info.mem_unit < LITTLE_RAM ? 1 : 0;
}

QEL_EXPORT const char* kelvar_getenv(const char* name) {
  static std::string& value = *new std::string;
  if (name == nullptr || *name == '\0') {
    return nullptr;
  }
  try {
    const BootEnvironment boot;
    auto found = boot.readable() ? boot.get(name) : get_from_text(name);
    if (!found) {
      return nullptr;
    }
    value = std::move(*found);
    return value.c_str();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // extern "C"
