/** @file
 * IPC endpoints, in the platform library libqelzarni.so.0: named mailboxes and events on a D-Bus message bus.
 *
 * The bus is the system bus, or the one whose D-Bus address is in the environment variable QELIPC_BUS_ADDRESS.
 *
 * The endpoint named N owns the bus name "org.qel.ipc." followed by N, escaped: letters and digits are kept; any other
 * octet, and a digit at the start, becomes "_" and its two lower-case hexadecimal digits; an empty N becomes "_". Names
 * are case-sensitive. All endpoints share the bus name "org.qel.ipc", which one owns and the others queue for, so that
 * the bus's policy can refer to them all. The object of an endpoint is /org/qel/ipc/ followed by its escaped name, with
 * the interface org.qel.ipc.Endpoint1:
 *
 *     method Message(s source, ay data)               a message; never answered (source: escaped)
 *     method Command(as words) -> (i result, s answer, t more)    a command for the shell (ctlcmd.h)
 *     method CommandLine(s line) -> (i result, s answer, t more)  the same as a line, which the shell splits
 *     method More(t more) -> (s answer, t more)       the next piece of the answer; `more` is 0 with the last one
 *     signal Event(s event, ay data)                  an event, sent to everyone
 *
 * An answer is sent in pieces of 64 KiB. The rest is kept for the asker alone, for five seconds from one piece to the
 * next. All kept answers together take at most 16 MiB; the least recently used one is dropped first.
 *
 * An endpoint runs in the loop of qelevsock.h; all its callbacks are called inside evsock_select_with_msecs(), in the
 * reading or timer phase. While the bus is away, sending fails at once; the endpoint reconnects by itself and takes its
 * name and events again, without delaying the loop. A bus that does not accept the endpoint within five seconds also
 * counts as away.
 *
 * If a C++ callback throws, its message or event counts as delivered and still goes to the other notifiers; then the
 * turn ends, the exception leaves evsock_select_with_msecs(), and other input is served in the next turn. */
#ifndef QELIPC_H
#define QELIPC_H

#ifdef __cplusplus
extern "C" {
#endif

/** An endpoint, valid from qelipc_create() to qelipc_destroy(). */
typedef struct qelipc qelipc;

/** Maximum size of a message or event, 1 MiB. Longer ones received are dropped. */
#define QELIPC_DATA_MAX 1048576u

/** Maximum size of a command, 64 KiB: its words, each with a NUL, or its line and a NUL. */
#define QELIPC_COMMAND_MAX 65536u

/** Maximum size of the answer to a command, 16 MiB. */
#define QELIPC_ANSWER_MAX 16777216u

/** Receives a message (`name` is the endpoint name that the sender gives) or an event (`name` is the event's name). The
 * `size` octets at `data` belong to the library and are valid during the call. A callback may destroy its own endpoint.
 */
typedef void (*qelipc_callback)(qelipc* ipc, const char* name, void* data, unsigned size, void* context);

/** Creates the endpoint of this name. Waits for the bus, for at most five seconds in total.
 *
 * Returns NULL with errno set: EEXIST if the name is taken, EINVAL if it is NULL or its escaped form exceeds the length
 * of a bus name (255 octets), EACCES if the bus's policy forbids it, ETIMEDOUT if the bus does not answer,
 * ECONNREFUSED, ENOENT and the like if there is no bus. */
qelipc* qelipc_create(const char* name);

/** Releases the name and frees the endpoint. Waits for the bus, for at most one second. NULL is ignored. */
void qelipc_destroy(qelipc* ipc);

/** Returns the name that the endpoint was created with. */
const char* qelipc_get_name(const qelipc* ipc);

/** Returns 1 if the endpoint is connected and owns its name, 0 while the bus is away. */
int qelipc_is_connected(const qelipc* ipc);

/** Sets the handler of messages to this endpoint, replacing any earlier one. Without a handler, messages are dropped.
 * Returns 0, or -EINVAL. */
int qelipc_msg_register(qelipc* ipc, qelipc_callback handler, void* context);

/** Removes the message handler. */
void qelipc_msg_unregister(qelipc* ipc);

/** Sends a message to the endpoint named `destination`, which may be the sender itself. Messages from one endpoint to
 * another keep their order. Waits for the bus to confirm that the destination exists, for at most one second.
 *
 * Returns 0, or a negative errno: -ENXIO if nobody owns the destination, -EMSGSIZE, -ENOTCONN while the bus is away,
 * -ENOBUFS if 8 MiB are already queued for the bus, -EINVAL. 0 means that the message is on its way, not that it was
 * handled. */
int qelipc_msg_send(qelipc* ipc, const char* destination, const void* data, unsigned size);

/** Sends an event, whose name is UTF-8, to every endpoint that registered a notifier for it, including the sender.
 * Returns 0 (even if nobody listens), or a negative errno: -EMSGSIZE, -ENOTCONN, -ENOBUFS, -EINVAL. */
int qelipc_event_send(qelipc* ipc, const char* event, const void* data, unsigned size);

/** Adds a notifier for events of this name. Several notifiers of one event are called in the order of registration.
 * Returns 0, or a negative errno. */
int qelipc_event_register_notifier(qelipc* ipc, const char* event, qelipc_callback notifier, void* context);

/** Removes the notifiers that were registered with exactly these arguments. Returns their number. */
int qelipc_event_unregister_notifier(qelipc* ipc, const char* event, qelipc_callback notifier, void* context);

#ifdef __cplusplus
}
#endif

#endif
