/** @file
 * Messages of a program, part of the platform's event-loop library.
 *
 * Messages go to standard error, or to the system log once the process is a daemon in the background. Under a service
 * manager, lines on standard error carry the priority prefix of sd-daemon(3). Each line of a text is a separate message
 * line.
 *
 * Messages never wait for a reader. A line that the reader does not accept is dropped and counted; the next line that
 * gets through is preceded by one that says how many were lost.
 *
 * The environment variable QELLOG_SYSLOG_SOCKET selects a socket other than /dev/log. */
#ifndef QELLOG_H
#define QELLOG_H

#ifdef __cplusplus
extern "C" {
#endif

/** Makes the compiler check a printf format. The arguments are the positions of the format and of the first value,
 * counted from 1. */
#ifdef __GNUC__
#define QELLOG_FORMAT(text, values) __attribute__((format(printf, text, values)))
#else
#define QELLOG_FORMAT(text, values)
#endif

/** The switch for a component's debug messages. It belongs to the library and lives as long as the process. */
typedef struct debughandle debughandle;

/** Returns the switch of the component, always the same for the same name; initially off. NULL if out of memory. */
debughandle* debug_gethandle(const char* component);

/** Shows (`on` nonzero) or hides the debug messages of a component. */
void debug_handle_set(debughandle* handle, int on);

/** Returns 1 if the debug messages of the component are shown, otherwise 0. */
int debug_handle_value(const debughandle* handle);

/** Prints "DEBUG: ", the component's name, ": " and the text, a printf format that needs no newline at the end. Does
 * nothing if the component is off or the handle is NULL. */
void debugmsg(const debughandle* handle, const char* format, ...) QELLOG_FORMAT(2, 3);
/** Prints the text, given in the same way. */
void infomsg(const char* format, ...) QELLOG_FORMAT(1, 2);
/** Prints "ERROR: " and the text, given in the same way. */
void errmsg(const char* format, ...) QELLOG_FORMAT(1, 2);

/** Returns the number of message lines lost since the process started. */
unsigned long qellog_lost(void);

#ifdef __cplusplus
}
#endif

#endif
