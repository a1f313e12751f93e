/** @file
 * Client access to endpoints (qelipc.h) for tools that are not endpoints themselves, in the platform library
 * libqelzarni.so.0.
 *
 * A client has its own connection to the same bus and needs no event loop: its calls block, each up to a time limit. A
 * tool that does have a loop opens its client with qelipc_client_open_in_loop(), after which nothing waits. */
#ifndef QELIPC_CLIENT_H
#define QELIPC_CLIENT_H

#ifdef __cplusplus
extern "C" {
#endif

/** A connection to the bus. */
typedef struct qelipc_client qelipc_client;

/** Connects. Waits for the bus, for at most five seconds. Returns NULL with errno set if there is no bus; ETIMEDOUT if
 * it does not answer. */
qelipc_client* qelipc_client_open(void);

/** Starts to connect, without waiting, and serves the client in the loop of qelevsock.h, which must be initialised. Its
 * events and answers arrive in turns of the loop; qelipc_client_wait() and the calls that wait must not be used.
 *
 * `lost`, which must not throw, is called once, in a turn, when the bus is gone or has not accepted the client within
 * five seconds. Pending commands have failed by then. It may close the client, which is of no further use. Returns NULL
 * with errno set if there is no bus. */
qelipc_client* qelipc_client_open_in_loop(void (*lost)(void* context), void* context);

/** Disconnects; pending commands of a client in a loop are forgotten. NULL is ignored. */
void qelipc_client_close(qelipc_client* client);

/** Calls `take`, which must not throw, with the name of each endpoint on the bus, in no particular order. Waits for the
 * bus, for at most five seconds. Returns the number of endpoints, or a negative errno. */
int qelipc_client_list(qelipc_client* client, void (*take)(void* context, const char* name), void* context);

/** Sends a command to an endpoint's shell, its words unchanged, and waits for the whole answer. The last word is
 * followed by NULL.
 *
 * Returns 0 if the shell answered. The command's result (see ctlcmd.h) is then in `*result`, and its text in `*answer`,
 * to be freed with free(). Otherwise returns a negative errno and stores nothing: -ENXIO if there is no such endpoint,
 * -ETIMEDOUT if the answer is not complete after `timeout_ms`, -EACCES if the bus's policy forbids it, -EOPNOTSUPP if
 * the endpoint serves no shell, -EINVAL if a word is not UTF-8, -EMSGSIZE if the command exceeds QELIPC_COMMAND_MAX,
 * -ENOBUFS if the endpoint has too many pending answers and dropped this one. */
int qelipc_client_command(qelipc_client* client, const char* endpoint, const char* const* words, int timeout_ms,
                          int* result, char** answer);

/** Sends a command in the same way, as a line that the shell splits into words. */
int qelipc_client_command_line(qelipc_client* client, const char* endpoint, const char* line, int timeout_ms,
                               int* result, char** answer);

/** Receives the outcome of a command: `status` is what qelipc_client_command() would return. The answer belongs to the
 * library, is valid during the call, and is NULL without one. */
typedef void (*qelipc_client_answer)(void* context, int status, int result, const char* answer);

/** Sends a command as qelipc_client_command() does, from a client in a loop and without waiting. `take`, which must
 * neither throw nor close the client, is called once with the outcome, in a turn of the loop. Returns 0, or a negative
 * errno, after which `take` is not called. */
int qelipc_client_start_command(qelipc_client* client, const char* endpoint, const char* const* words, int timeout_ms,
                                qelipc_client_answer take, void* context);

/** Receives an event: its endpoint, its name and its octets, which belong to the library and are valid during the call.
 */
typedef void (*qelipc_client_event)(void* context, const char* endpoint, const char* event, const void* data,
                                    unsigned size);

/** Makes qelipc_client_wait() call `take` for the events of an endpoint, or of all endpoints if `endpoint` is NULL.
 * `take` must not throw, because it is called from the bus library, which is C. The endpoint need not exist yet. In a
 * loop, `take` is called in its turns, and must not close the client.
 * Returns 0, or a negative errno. */
int qelipc_client_subscribe(qelipc_client* client, const char* endpoint, qelipc_client_event take, void* context);

/** Waits for events, at most `timeout_ms` (negative: without limit), and delivers those that arrived. Returns 1 if
 * something arrived, 0 if not (also after a signal), or a negative errno if the bus is gone. */
int qelipc_client_wait(qelipc_client* client, int timeout_ms);

#ifdef __cplusplus
}
#endif

#endif
