/** @file
 * The event loop of the platform library libqelevsock.so.2: descriptor watches and the turn of the loop.
 *
 * Plain C, for one thread: every handler of this and the other platform headers (timers, IPC, commands) is called
 * inside evsock_select_with_msecs(), on the thread that called it. A process has one loop.
 *
 * One turn has these phases, always in this order:
 *
 *   1. Wait   until a watch is ready, a timer is due or the timeout is over. Nothing is called yet.
 *   2. Timers due now, by time of expiry; ties in the order of arming. See ctimer.h.
 *   3. Priority data: the fourth callback of the ready watches.
 *   4. Reading: the first callback of the ready watches.
 *   5. Writing: the second callback of the ready watches.
 *   6. Hang-up or error: the third callback of the ready watches. Data that came before a hang-up is so read before it.
 *
 * Phases 3 to 6 each go through the watches in the order of their registration. What is ready is what the wait of phase
 * 1 saw; what becomes ready, due or registered during a turn waits for the next one, so that no handler starves
 * another.
 *
 * A handler may do anything but call evsock_select_with_msecs() or evsock_exit(): remove its own watch or any other,
 * add watches, arm and stop timers. A removed watch or stopped timer is not called any more, also when it was ready in
 * the same turn.
 *
 * A handler in C++ may throw: the turn ends, the exception leaves evsock_select_with_msecs(), and what else was ready
 * or due is served in the next turn. */
#ifndef QELEVSOCK_H
#define QELEVSOCK_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The registration of one descriptor. Belongs to the library; from evsock_add_fd() to evsock_remove_fd(). */
typedef struct evsock evsock;

/** A handler of a watch: the registration, and the context given with it. */
typedef void (*evsock_callback)(evsock* handle, void* context);

/** Brings the loop up. May be called several times; evsock_exit() has to follow as often. A SIGPIPE that would end the
 * process is ignored from now on, since evsock_bwrite() reports a closed pipe. Returns 0, or a negative errno. */
int evsock_init(void);

/** The counterpart of evsock_init(). The last one takes the loop down: timers still armed are stopped and their handle
 * variables cleared; watches still registered are not watched any more, but evsock_remove_fd() still has to free them.
 */
void evsock_exit(void);

/** Watches a descriptor, and makes it non-blocking.
 *
 * `readable` is called while there is something to read (level-triggered); end of file, hang-up and errors count as
 * readable, and the read then tells. `writable` is called once when the descriptor is first writable after the
 * registration, then again only when it has become writable after an evsock_bwrite() that could not be finished or an
 * evsock_want_write(). `hangup` is called when the peer hangs up or an error is pending, `priority` when out-of-band
 * data arrives: each once for a change of state, not again and again while it lasts. Every callback may be NULL.
 *
 * The descriptor stays the caller's: remove the watch first, then close it. Several watches may share a descriptor, but
 * only one of them may have `hangup` or `priority`. `name` is copied. `reserved` must be NULL.
 *
 * Returns the registration, or NULL with errno set (EBADF, EINVAL, EEXIST, ENOMEM). */
evsock* evsock_add_fd(int fd, const char* name, evsock_callback readable, evsock_callback writable,
                      evsock_callback hangup, evsock_callback priority, void* reserved, void* context);

/** Ends a watch and frees the registration. The descriptor is neither closed nor changed. NULL is ignored. */
void evsock_remove_fd(evsock* handle);

/** Puts the descriptor back into blocking mode. Returns 0, or a negative errno. */
int evsock_fd_blocking(evsock* handle);

/** Asks for one more call of the write handler, in a later turn, as soon as the descriptor is writable. To be called
 * after a write(2) or send(2) of one's own that fell short, of which the library knows nothing. */
void evsock_want_write(evsock* handle);

/** Pauses reading with 0, at once: the read handler is not called until reading is wanted again, while what is there to
 * read stays in the kernel. The other handlers are called as before. A new registration reads. */
void evsock_want_read(evsock* handle, int wanted);

/** Octets that the kernel buffers for the descriptor on the way out, at least 1. */
int evsock_getobufsize(const evsock* handle);

/** Writes without ever blocking, also when the descriptor is in blocking mode.
 *
 * Returns how many octets were taken, from 0 to `length`, or a negative errno. When fewer than `length` were taken, the
 * write handler is called once the descriptor is writable again; the rest stays with the caller. */
int evsock_bwrite(evsock* handle, const void* data, size_t length);

/** The descriptor that the watch was registered with. */
int evsock_get_fd(const evsock* handle);
/** The name that the watch was registered with. */
const char* evsock_get_name(const evsock* handle);

/** Runs one turn, waiting at most `milliseconds`: 0 only polls, a negative value waits without limit. The wait may also
 * end early with nothing to deliver, for instance by a signal.
 *
 * Returns how many handlers were called, or -1 when called inside a handler or when the loop cannot be brought up. */
int evsock_select_with_msecs(int milliseconds);

/* Address families as IANA numbers them, which is how they travel in LLDP and in 1905.1. */
#define EVSOCK_FAMILY_IPV4 1 /**< of addresses of 4 octets */
#define EVSOCK_FAMILY_IPV6 2 /**< of addresses of 16 octets */

/** Octets that hold the text of any address and its NUL. */
#define EVSOCK_INADDR_TEXT_SIZE 46

/** Writes an internet address as text: dotted for IPv4, with colons for IPv6 (RFC 5952).
 *
 * `address` points to 4 or 16 octets in network order; it need not be aligned. Returns `text`, or NULL for another
 * family or when `text_size` octets, the NUL included, do not suffice. */
const char* evsock_inaddr2str(int family, const void* address, char* text, size_t text_size);

#ifdef __cplusplus
}
#endif

#endif
