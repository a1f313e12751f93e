/** @file
 * Start of a daemon and its watchdog, of the platform's event-loop library.
 *
 * Under a service manager (NOTIFY_SOCKET is set) nothing is forked: readiness, status and the watchdog are reported as
 * sd_notify(3) describes. Otherwise the daemon goes into the background, and the command that started it ends with
 * status 0 only when the daemon has said that it is ready. */
#ifndef QELDAEMON_H
#define QELDAEMON_H

#ifdef __cplusplus
extern "C" {
#endif

/** Makes the calling process a daemon. Call it once, before descriptors or timers of the loop matter to another
 * process.
 *
 * Without a service manager the process is forked: this call returns in the child, in a session of its own; the parent
 * waits for the verdict of the child and then exits, with 0 after daemon_ready() and with 1 after daemon_start_failed()
 * or when the child ends without a verdict. The loop, its watches and timers, the log ring and the IPC endpoints live
 * on in the child; an endpoint changes its connection and takes its name again before this call returns.
 *
 * `nochdir` 0: the working directory becomes "/". `noclose` 0: standard input, output and error become /dev/null at
 * daemon_ready(), until when errors still reach the one who started it. Both mean nothing under a service manager.
 *
 * Returns 0, or a negative errno: -EALREADY when called again, -EEXIST when an IPC name was lost. */
int daemon_start(int nochdir, int noclose);

/** Says that the daemon works: to the service manager, or to the waiting parent, which exits with 0. A daemon in the
 * background sends its messages to the system log from now on. Later calls do nothing. */
void daemon_ready(void);

/** Says that the start failed; the waiting parent exits with 1. The caller then ends the process. */
void daemon_start_failed(void);

/** Reports life to the service manager's watchdog, twice in its interval, for as long as the loop turns. Without a
 * watchdog (see sd_watchdog_enabled(3)) nothing is done. `name` is shown in the service's status. Returns 0, or a
 * negative errno. */
int watchdog_evsock_init(const char* name);

/** Reports life at once, for a handler that knows it will take long. Does nothing without a watchdog. */
void watchdog_evsock_trigger(void);

/** Ends the reports; the service manager is not told. */
void watchdog_evsock_exit(void);

#ifdef __cplusplus
}
#endif

#endif
