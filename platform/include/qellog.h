/** @file
 * Messages of a program, of the platform's event-loop library.
 *
 * Messages go to standard error, and to the system log once the process is a daemon in the background. Under a service
 * manager the lines on standard error carry the priority prefix of sd-daemon(3). Each line of a text is a message line
 * of its own.
 *
 * No message ever waits for a reader. When the reader does not take a line, the line is dropped and counted; the next
 * one that gets through is preceded by a line that says how many were lost.
 *
 * The environment variable QELLOG_SYSLOG_SOCKET names another socket than /dev/log. */
#ifndef QELLOG_H
#define QELLOG_H

#ifdef __cplusplus
extern "C" {
#endif

/** Has the compiler check a printf format: the places of the format and of the first value, counted from 1. */
#ifdef __GNUC__
#define QELLOG_FORMAT(text, values) __attribute__((format(printf, text, values)))
#else
#define QELLOG_FORMAT(text, values)
#endif

/** The switch of a component's debug messages. Belongs to the library and lives as long as the process. */
typedef struct debughandle debughandle;

/** The switch of the component of this name, the same one for the same name; off at first. NULL when out of memory. */
debughandle* debug_gethandle(const char* component);

/** Shows (`on` not 0) or hides the debug messages of a component. */
void debug_handle_set(debughandle* handle, int on);

/** 1 when the debug messages of the component are shown, else 0. */
int debug_handle_value(const debughandle* handle);

/** Shows "DEBUG: ", the component's name, ": " and the text, a printf format that needs no newline at the end. Does
 * nothing when the component is off or the handle is NULL. */
void debugmsg(const debughandle* handle, const char* format, ...) QELLOG_FORMAT(2, 3);
/** Shows the text, given in the same way. */
void infomsg(const char* format, ...) QELLOG_FORMAT(1, 2);
/** Shows "ERROR: " and the text, given in the same way. */
void errmsg(const char* format, ...) QELLOG_FORMAT(1, 2);

/** How many message lines were lost since the process began. */
unsigned long qellog_lost(void);

#ifdef __cplusplus
}
#endif

#endif
