/** @file
 * The event loop of the platform library libqelevsock.so.2: descriptor watches, and the turns of the loop.
 *
 * Plain C, for one thread: all handlers of this and the other platform headers (timers, IPC, commands) are called
 * inside evsock_select_with_msecs(), on the thread that called it. A process has one loop.
 *
 * A turn has these phases, always in this order:
 *
 *   1. Wait until a watch is ready, a timer is due or the timeout expires. No handler is called yet.
 *   2. Timers that are now due, in order of expiry; ties in the order of arming. See ctimer.h.
 *   3. Priority data: the fourth callback of the ready watches.
 *   4. Reading: the first callback of the ready watches.
 *   5. Writing: the second callback of the ready watches.
 *   6. Hang-up or error: the third callback of the ready watches. Data that arrived before a hang-up is thus read
 *      first.
 *
 * Phases 3 to 6 each visit the watches in the order of their registration. Only watches that were ready in the wait of
 * phase 1 are served. Anything that becomes ready, due or registered during a turn waits for the next one, so no
 * handler can starve another.
 *
 * A handler may do anything except call evsock_select_with_msecs() or evsock_exit(): it may remove its own watch or any
 * other, add watches, and arm and stop timers. A removed watch or stopped timer is not called again, even if it was
 * ready in the same turn.
 *
 * A C++ handler may throw: the turn ends, the exception leaves evsock_select_with_msecs(), and everything else that was
 * ready or due is served in the next turn. */
#ifndef QELEVSOCK_H
#define QELEVSOCK_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The registration of a descriptor. It belongs to the library and lives from evsock_add_fd() to evsock_remove_fd(). */
typedef struct evsock evsock;

/** A handler of a watch. It receives the registration and the context given with it. */
typedef void (*evsock_callback)(evsock* handle, void* context);

/** Initialises the loop. It may be called several times; evsock_exit() must be called as often. From then on, SIGPIPE
 * is ignored if it would end the process, because evsock_bwrite() reports a closed pipe. Returns 0, or a negative
 * errno. */
int evsock_init(void);

/** The counterpart of evsock_init(). The last call shuts the loop down: armed timers are stopped and their handle
 * variables cleared; registered watches become inactive, but evsock_remove_fd() must still free them. */
void evsock_exit(void);

/** Watches a descriptor, and makes it non-blocking.
 *
 * `readable` is called while there is something to read (level-triggered); end of file, hang-up and errors count as
 * readable, and the read reports them. `writable` is called once when the descriptor is first writable after
 * registration, and then only when it becomes writable after an incomplete evsock_bwrite() or an evsock_want_write().
 * `hangup` is called when the peer hangs up or an error is pending, `priority` when out-of-band data arrives; both once
 * per change of state, not repeatedly while it lasts. Any callback may be NULL.
 *
 * The descriptor remains the caller's: remove the watch first, then close it. Several watches may share a descriptor,
 * but only one of them may have `hangup` or `priority`. `name` is copied. `reserved` must be NULL.
 *
 * Returns the registration, or NULL with errno set (EBADF, EINVAL, EEXIST, ENOMEM). */
evsock* evsock_add_fd(int fd, const char* name, evsock_callback readable, evsock_callback writable,
                      evsock_callback hangup, evsock_callback priority, void* reserved, void* context);

/** Ends a watch and frees the registration. The descriptor is neither closed nor changed. NULL is ignored. */
void evsock_remove_fd(evsock* handle);

/** Puts the descriptor back into blocking mode. Returns 0, or a negative errno. */
int evsock_fd_blocking(evsock* handle);

/** Requests one more call of the write handler, in a later turn, as soon as the descriptor is writable. Call it after a
 * short write(2) or send(2) of your own, which the library does not see. */
void evsock_want_write(evsock* handle);

/** Pauses reading at once if `wanted` is 0: the read handler is not called until reading is wanted again, and pending
 * input stays in the kernel. The other handlers are still called. A new registration starts with reading enabled. */
void evsock_want_read(evsock* handle, int wanted);

/** Size of the kernel's output buffer for the descriptor, in octets; at least 1. */
int evsock_getobufsize(const evsock* handle);

/** Writes without ever blocking, even if the descriptor is in blocking mode.
 *
 * Returns the number of octets accepted, from 0 to `length`, or a negative errno. If it is less than `length`, the
 * write handler is called once the descriptor is writable again; the caller keeps the rest. */
int evsock_bwrite(evsock* handle, const void* data, size_t length);

/** Returns the descriptor given at registration. */
int evsock_get_fd(const evsock* handle);
/** Returns the name given at registration. */
const char* evsock_get_name(const evsock* handle);

/** Runs one turn, waiting at most `milliseconds`: 0 only polls, a negative value waits without limit. The wait may also
 * end early with nothing to deliver, for example because of a signal.
 *
 * Returns the number of handlers called, or -1 if called inside a handler or if the loop cannot be initialised. */
int evsock_select_with_msecs(int milliseconds);

/* Address families as numbered by IANA and used in LLDP and 1905.1. */
#define EVSOCK_FAMILY_IPV4 1 /**< addresses of 4 octets */
#define EVSOCK_FAMILY_IPV6 2 /**< addresses of 16 octets */

/** Size that holds the text of any address, including NUL. */
#define EVSOCK_INADDR_TEXT_SIZE 46

/** Formats an internet address: dotted for IPv4, with colons for IPv6 (RFC 5952).
 *
 * `address` points to 4 or 16 octets in network order; it need not be aligned. Returns `text`, or NULL if the family is
 * unknown or the text and its NUL do not fit in `text_size` octets. */
const char* evsock_inaddr2str(int family, const void* address, char* text, size_t text_size);

#ifdef __cplusplus
}
#endif

#endif
