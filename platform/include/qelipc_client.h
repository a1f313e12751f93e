/** @file
 * What a tool needs to talk to endpoints (qelipc.h) without being one, of the platform library libqelzarni.so.0.
 *
 * A client has its own connection to the same bus and needs no event loop: its calls wait, for a given time at most. */
#ifndef QELIPC_CLIENT_H
#define QELIPC_CLIENT_H

#ifdef __cplusplus
extern "C" {
#endif

/** A connection to the bus. */
typedef struct qelipc_client qelipc_client;

/** Connects. Waits for the bus, for five seconds at most. Returns NULL with errno set when there is none, ETIMEDOUT
 * when it does not answer. */
qelipc_client* qelipc_client_open(void);

/** Disconnects. NULL is ignored. */
void qelipc_client_close(qelipc_client* client);

/** Calls `take`, which must not throw, with the name of each endpoint on the bus, in no order. Waits for the bus, for
 * five seconds at most. Returns their number, or a negative errno. */
int qelipc_client_list(qelipc_client* client, void (*take)(void* context, const char* name), void* context);

/** Sends a command to an endpoint's shell, its words as they are, and waits for the whole answer. Behind the last word
 * stands NULL.
 *
 * Returns 0 when the shell answered: the command's result (see ctlcmd.h) is then in `*result`, and its text in
 * `*answer`, to be freed with free(). Else a negative errno, nothing stored: -ENXIO when there is no such endpoint,
 * -ETIMEDOUT when the answer is not complete after `timeout_ms`, -EACCES when the bus's policy forbids it, -EOPNOTSUPP
 * when the endpoint serves no shell, -EINVAL when a word is not UTF-8, -EMSGSIZE when the command is longer than
 * QELIPC_COMMAND_MAX, -ENOBUFS when the endpoint has too many answers to give, and this one is lost. */
int qelipc_client_command(qelipc_client* client, const char* endpoint, const char* const* words, int timeout_ms,
                          int* result, char** answer);

/** The same with a line, which the shell splits into words. */
int qelipc_client_command_line(qelipc_client* client, const char* endpoint, const char* line, int timeout_ms,
                               int* result, char** answer);

/** Takes an event: of which endpoint, its name, its octets (the library's, until the call ends). */
typedef void (*qelipc_client_event)(void* context, const char* endpoint, const char* event, const void* data,
                                    unsigned size);

/** Has `take` called for the events of an endpoint, or of all with an `endpoint` of NULL, inside qelipc_client_wait().
 * It must not throw: it is called from within the bus library, which is C. The endpoint need not exist yet. Returns 0,
 * or a negative errno. */
int qelipc_client_subscribe(qelipc_client* client, const char* endpoint, qelipc_client_event take, void* context);

/** Waits for events, at most `timeout_ms` (negative: without limit), and delivers those that came. Returns 1 when
 * something came, 0 when not (also after a signal), or a negative errno when the bus is gone. */
int qelipc_client_wait(qelipc_client* client, int timeout_ms);

#ifdef __cplusplus
}
#endif

#endif
