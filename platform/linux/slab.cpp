#include "slab.h"

#include <malloc.h>
#include <stdio.h>
#include <stdlib.h>

#include "platform/linux/allocator_report.h"
#include "platform/linux/export.h"

namespace qel::platform {

std::string allocator_totals() {
  const struct mallinfo2 info = mallinfo2();
  char text[256];
  const int length = snprintf(text, sizeof text,
                              "from the system:  %12zu\n"
                              "mapped on its own:%12zu\n"
                              "in use:           %12zu\n"
                              "free:             %12zu\n"
                              "free at the top:  %12zu\n",
                              info.arena, info.hblkhd, info.uordblks, info.fordblks, info.keepcost);
  return {text, static_cast<std::size_t>(length)};
}

std::string allocator_account() {
  char* text = nullptr;
  std::size_t size = 0;
  FILE* stream = open_memstream(&text, &size);
  if (stream == nullptr) {
    return {};
  }
  malloc_info(0, stream);
  fclose(stream);
  std::string account(text, size);
  free(text);
  return account;
}

}  // namespace qel::platform

extern "C" QEL_EXPORT void slab_reap(void) { malloc_trim(0); }
