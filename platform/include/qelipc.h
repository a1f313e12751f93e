/** @file
 * IPC endpoints, of the platform library libqelzarni.so.0: named mailboxes and events on a D-Bus message bus.
 *
 * The bus is the system bus, or the one whose D-Bus address the environment variable QELIPC_BUS_ADDRESS holds.
 *
 * The endpoint of the name N owns the bus name "org.qel.ipc." followed by N escaped: letters and digits stay, every
 * other octet, and a digit at the start, becomes "_" and its two lower-case hexadecimal digits; an empty N becomes "_".
 * Names are distinguished by case. All endpoints share the bus name "org.qel.ipc", which one owns and the others wait
 * for, so that the bus's policy can speak of them. An endpoint's object is /org/qel/ipc/ and its escaped name, with the
 * interface org.qel.ipc.Endpoint1:
 *
 *     method Message(s source, ay data)               a message; never answered (source: escaped)
 *     method Command(as words) -> (i result, s answer, t more)    a command for the shell (ctlcmd.h)
 *     method CommandLine(s line) -> (i result, s answer, t more)  the same as a line, which the shell splits
 *     method More(t more) -> (s answer, t more)       the next piece of the answer; `more` is 0 with the last one
 *     signal Event(s event, ay data)                  an event, sent to everyone
 *
 * An answer comes in pieces of 64 KiB. What is left of it is kept for the asker alone, five seconds long from one piece
 * to the next, and all answers together take 8 MiB at most: the one not touched for longest is dropped first.
 *
 * An endpoint lives in the loop of qelevsock.h; all its callbacks run inside evsock_select_with_msecs(), in the phase
 * of reading or of timers. When the bus goes away, sending fails at once, and the endpoint connects again by itself and
 * takes its name and its events again, without delaying the loop. A bus that is there but has not let the endpoint in
 * after five seconds counts as gone too.
 *
 * When a callback in C++ throws, its message or event counts as taken and still goes to the other notifiers; then the
 * turn ends, the exception leaves evsock_select_with_msecs(), and what else came in is served in the next turn. */
#ifndef QELIPC_H
#define QELIPC_H

#ifdef __cplusplus
extern "C" {
#endif

/** An endpoint. From qelipc_create() to qelipc_destroy(). */
typedef struct qelipc qelipc;

/** Octets that a message or an event may hold at most, 1 MiB. Longer ones of others are dropped. */
#define QELIPC_DATA_MAX 1048576u

/** Octets that a command may hold at most, 64 KiB: its words, a NUL behind each, or its line and a NUL. */
#define QELIPC_COMMAND_MAX 65536u

/** Octets that the answer to a command may hold at most, 4 MiB. */
#define QELIPC_ANSWER_MAX 4194304u

/** Takes a message (`name` is the sender's endpoint name, as the sender gives it) or an event (`name` is the event's).
 * The `size` octets at `data` are the library's and end with the call. A callback may destroy its own endpoint. */
typedef void (*qelipc_callback)(qelipc* ipc, const char* name, void* data, unsigned size, void* context);

/** Creates the endpoint of this name. Waits for the bus, for five seconds at most in all.
 *
 * Returns NULL with errno set: EEXIST when the name is taken, EINVAL when it is NULL or its escaped form longer than a
 * bus name may be (255 octets), EACCES when the bus's policy forbids it, ETIMEDOUT when the bus does not answer,
 * ECONNREFUSED, ENOENT and the like without a bus. */
qelipc* qelipc_create(const char* name);

/** Gives the name back and frees the endpoint. Waits for the bus, for one second at most. NULL is ignored. */
void qelipc_destroy(qelipc* ipc);

/** The name that the endpoint was created with. */
const char* qelipc_get_name(const qelipc* ipc);

/** 1 when the endpoint is connected and owns its name, 0 while the bus is away. */
int qelipc_is_connected(const qelipc* ipc);

/** Sets who takes the messages to this endpoint, in place of an earlier handler. Messages without a handler are
 * dropped. Returns 0, or -EINVAL. */
int qelipc_msg_register(qelipc* ipc, qelipc_callback handler, void* context);

/** Takes the handler of messages away. */
void qelipc_msg_unregister(qelipc* ipc);

/** Sends a message to the endpoint of the name `destination`, which may be the sender itself. Messages from one
 * endpoint to another keep their order. Waits for the bus's word that the destination exists, for one second at most.
 *
 * Returns 0, or a negative errno: -ENXIO when nobody owns the destination, -EMSGSIZE, -ENOTCONN while the bus is away,
 * -ENOBUFS when 8 MiB wait already for the bus to take them, -EINVAL. 0 means that the message is on its way, not that
 * it was handled. */
int qelipc_msg_send(qelipc* ipc, const char* destination, const void* data, unsigned size);

/** Sends an event, a name in UTF-8, to every endpoint that registered a notifier for it, the sender included. Returns 0
 * (also when nobody listens), or a negative errno: -EMSGSIZE, -ENOTCONN, -ENOBUFS, -EINVAL. */
int qelipc_event_send(qelipc* ipc, const char* event, const void* data, unsigned size);

/** Adds a notifier for the events of a name. Several notifiers of one event are called in the order of their
 * registration. Returns 0, or a negative errno. */
int qelipc_event_register_notifier(qelipc* ipc, const char* event, qelipc_callback notifier, void* context);

/** Removes the notifiers that were registered with exactly these arguments. Returns how many. */
int qelipc_event_unregister_notifier(qelipc* ipc, const char* event, qelipc_callback notifier, void* context);

#ifdef __cplusplus
}
#endif

#endif
