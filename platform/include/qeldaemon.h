/** @file
 * Daemon start and watchdog, part of the platform's event-loop library.
 *
 * Under a service manager (NOTIFY_SOCKET is set), nothing is forked: readiness, status and watchdog keep-alives are
 * reported as described in sd_notify(3). Otherwise the daemon goes into the background, and the command that started it
 * exits with status 0 only after the daemon has reported that it is ready. */
#ifndef QELDAEMON_H
#define QELDAEMON_H

#ifdef __cplusplus
extern "C" {
#endif

/** Makes the calling process a daemon. Call it once, before other processes depend on descriptors or timers of the
 * loop.
 *
 * Without a service manager, the process is forked. The call returns in the child, in a session of its own; the parent
 * waits for the child's result and then exits, with 0 after daemon_ready(), and with 1 after daemon_start_failed() or
 * if the child exits without a result. The loop with its watches and timers, the log ring and the IPC endpoints remain
 * in the child; an endpoint opens a new connection and takes its name again before this call returns.
 *
 * If `nochdir` is 0, the working directory becomes "/". If `noclose` is 0, standard input, output and error become
 * /dev/null at daemon_ready(); until then, errors reach whoever started the daemon. Both are ignored under a service
 * manager.
 *
 * Returns 0, or a negative errno: -EALREADY if called again, -EEXIST if an IPC name was lost. */
int daemon_start(int nochdir, int noclose);

/** Reports to the service manager, or to the waiting parent, that the daemon works; the parent exits with 0. From then
 * on, a daemon in the background sends its messages to the system log. Later calls do nothing. */
void daemon_ready(void);

/** Reports that the start failed; the waiting parent exits with 1. The caller must then end the process. */
void daemon_start_failed(void);

/** Sends keep-alives to the service manager's watchdog, twice per interval, for as long as the loop runs. Does nothing
 * without a watchdog (see sd_watchdog_enabled(3)). `name` is shown in the service's status. Returns 0, or a negative
 * errno. */
int watchdog_evsock_init(const char* name);

/** Sends a keep-alive at once, for a handler that expects to take long. Does nothing without a watchdog. */
void watchdog_evsock_trigger(void);

/** Stops the keep-alives without telling the service manager. */
void watchdog_evsock_exit(void);

#ifdef __cplusplus
}
#endif

#endif
