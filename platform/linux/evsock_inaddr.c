#include <arpa/inet.h>

#include "platform/linux/export.h"
#include "qelevsock.h"

QEL_EXPORT const char* evsock_inaddr2str(int family, const void* address, char* text, size_t text_size) {
  switch (family) {
    case EVSOCK_FAMILY_IPV4:
      return inet_ntop(AF_INET, address, text, (socklen_t)text_size);
    case EVSOCK_FAMILY_IPV6:
      return inet_ntop(AF_INET6, address, text, (socklen_t)text_size);
    default:
      return NULL;
  }
}
