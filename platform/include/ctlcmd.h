/** @file
 * The command shell of a daemon, of the platform's event-loop library: commands by name, served on an IPC endpoint.
 *
 * A command is words: the name of a command of the served tables, or the name of a module and of one of its commands,
 * then arguments. What the tables have comes first. Names of commands are compared without regard to case, names of
 * modules exactly.
 *
 * A command line is words parted by blanks; a word in double quotes may hold blanks, and a backslash before a double
 * quote or a backslash takes it literally. */
#ifndef CTLCMD_H
#define CTLCMD_H

#include <stddef.h>

#include "qellog.h"

#ifdef __cplusplus
extern "C" {
#endif

struct qelipc;

/** What a command answers into. Valid only while its handler runs. */
typedef struct ctlcmd_session ctlcmd_session;

/** Runs a command. `argv[0]` is the command's name as typed, `argv[argc]` is NULL; the words belong to the library.
 * `context` is the module's. Returns 0 for success, a value of its own above 1 or CTLCMD_FAILED for failure. An
 * exception of a handler in C++ ends here: the shell says that the command failed, and returns CTLCMD_FAILED. */
typedef int (*ctlcmd_handler)(ctlcmd_session* session, int argc, const char* const* argv, void* context);

/** One command. The texts stay the caller's. */
typedef struct ctlcmd_command {
  const char* name;
  ctlcmd_handler handler;
  const char* help; /**< one line */
} ctlcmd_command;

/** The commands that need no module. */
typedef struct ctlcmd_table {
  const ctlcmd_command* commands;
  size_t count;
} ctlcmd_table;

/** Results of a command, besides 0 and a handler's own. */
#define CTLCMD_CLOSED 1        /**< success, and the one who asked is to leave */
#define CTLCMD_NO_MODULE (-1)  /**< no module of this name */
#define CTLCMD_NO_COMMAND (-2) /**< no command of this name, or none at all */
#define CTLCMD_BAD_LINE (-3)   /**< a quote is not closed */
#define CTLCMD_FAILED (-4)     /**< the command failed and said why in its answer */
#define CTLCMD_TOO_LONG (-5)   /**< over IPC: the command ran, but its answer is longer than QELIPC_ANSWER_MAX */

/** Adds to the answer, by a printf format. Lines of the answer end with a newline. Throws std::bad_alloc when out of
 * memory, so that the command fails. */
void ctlcmd_printf(ctlcmd_session* session, const char* format, ...) QELLOG_FORMAT(2, 3);

/** Serves the commands of `table` and of all modules on an endpoint, from now until the endpoint is destroyed or
 * ctlcmd_listen_stop(). Who may ask is the bus's policy. `endpoint` is the name that the shell answers by in its help.
 * The table is copied; its texts are not, and have to outlive the service.
 *
 * Returns 0, or a negative errno: -EINVAL for a NULL argument, -EBUSY when the endpoint is served already. */
int ctlcmd_listen_start(struct qelipc* ipc, const char* endpoint, const ctlcmd_table* table);

/** Ends the service on an endpoint. Nothing happens when there is none. */
void ctlcmd_listen_stop(struct qelipc* ipc);

/** Adds a module: its commands are from now on known by its name, on all endpoints. `name`, `commands` and their texts
 * are kept as pointers and have to stay until ctlcmd_unregister_library(). Its context is NULL at first.
 *
 * Returns 0, or a negative errno: -EINVAL, -EEXIST when a module of the name is registered. */
int ctlcmd_register_library(const char* name, const ctlcmd_command* commands, size_t count);

/** Sets what the commands of a module get as their context. Returns 0, or -ENOENT when there is no such module. */
int ctlcmd_module_set_ctx(const char* name, void* context);

/** Removes a module, also from one of its own commands. Returns 0, or -ENOENT when there is no such module. */
int ctlcmd_unregister_library(const char* name);

/** Takes an answer, or a piece of one; `text` is not ended by a NUL. */
typedef void (*ctlcmd_output)(void* context, const char* text, size_t length);

/** Runs one command line in this process, at once: of the `module`, or, when that is NULL or "", any command. One of
 * the served tables is that of the first service that knows the name.
 *
 * The answer goes to infomsg(). Returns 0 for success or one of the results above; an error of the shell's own also
 * stands in the answer. */
int ctlcmd_docommand(const char* module, const char* command);
/** The same with the answer to `output`. */
int ctlcmd_docommand_to(const char* module, const char* command, ctlcmd_output output, void* output_context);

/* The built-in commands, to be put into a table. */

/** Lists the commands of the table and of every module, or with the argument of a module's name those of it. */
int ctlcmd_help(ctlcmd_session* session, int argc, const char* const* argv, void* context);
/** Prints the allocator's own account of its arenas, as malloc_info(3) does. */
int ctlcmd_slabdump(ctlcmd_session* session, int argc, const char* const* argv, void* context);
/** Prints the totals of the allocator: octets from the system, in use, free, and what a reap could give back. */
int ctlcmd_slabshow(ctlcmd_session* session, int argc, const char* const* argv, void* context);
/** Answers CTLCMD_CLOSED. */
int ctlcmd_quit(ctlcmd_session* session, int argc, const char* const* argv, void* context);

#ifdef __cplusplus
}
#endif

#endif
