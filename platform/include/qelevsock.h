/* The platform's event-loop library, libqelevsock.so.2. Plain C; single-threaded. */
#ifndef QELEVSOCK_H
#define QELEVSOCK_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Address families as IANA numbers them, which is how they travel in LLDP and in 1905.1. */
#define EVSOCK_FAMILY_IPV4 1
#define EVSOCK_FAMILY_IPV6 2

/* Octets that hold the text of any address and its NUL. */
#define EVSOCK_INADDR_TEXT_SIZE 46

/* Writes an internet address as text: dotted for IPv4, with colons for IPv6 (RFC 5952).
 *
 * `address` points to 4 or 16 octets in network order; it need not be aligned. Returns `text`, or NULL for another
 * family or when `text_size` octets, the NUL included, do not suffice. */
const char* evsock_inaddr2str(int family, const void* address, char* text, size_t text_size);

#ifdef __cplusplus
}
#endif

#endif
