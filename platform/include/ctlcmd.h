/** @file
 * The command shell of a daemon, part of the platform's event-loop library: commands by name, served on an IPC
 * endpoint.
 *
 * A command consists of words: the name of a command in the served tables, or the name of a module and of one of its
 * commands, followed by arguments. The tables take precedence. Command names are case-insensitive, module names are
 * not.
 *
 * A command line consists of words separated by blanks. A word in double quotes may contain blanks, and a backslash
 * makes a following double quote or backslash literal. */
#ifndef CTLCMD_H
#define CTLCMD_H

#include <stddef.h>

#include "qellog.h"

#ifdef __cplusplus
extern "C" {
#endif

struct qelipc;

/** The output of a command. Valid only while its handler runs. */
typedef struct ctlcmd_session ctlcmd_session;

/** Runs a command. `argv[0]` is the command's name as typed, `argv[argc]` is NULL; the words belong to the library.
 * `context` is that of the module. Returns 0 for success; for failure, CTLCMD_FAILED or a value of its own above 1. An
 * exception from a C++ handler ends here: the shell answers that the command failed and returns CTLCMD_FAILED. */
typedef int (*ctlcmd_handler)(ctlcmd_session* session, int argc, const char* const* argv, void* context);

/** One command. The texts belong to the caller. */
typedef struct ctlcmd_command {
  const char* name;
  ctlcmd_handler handler;
  const char* help; /**< one line */
} ctlcmd_command;

/** The commands that belong to no module. */
typedef struct ctlcmd_table {
  const ctlcmd_command* commands;
  size_t count;
} ctlcmd_table;

/** Results of a command, besides 0 and those of the handler. */
#define CTLCMD_CLOSED 1        /**< success, and the client should disconnect */
#define CTLCMD_NO_MODULE (-1)  /**< no module of this name */
#define CTLCMD_NO_COMMAND (-2) /**< no command of this name, or no command given */
#define CTLCMD_BAD_LINE (-3)   /**< unclosed quote */
#define CTLCMD_FAILED (-4)     /**< the command failed; its answer says why */
#define CTLCMD_TOO_LONG (-5)   /**< over IPC: the command ran, but its answer is longer than QELIPC_ANSWER_MAX */

/** Appends to the answer, with a printf format. Lines of the answer end with a newline. Throws std::bad_alloc if out of
 * memory, so that the command fails. */
void ctlcmd_printf(ctlcmd_session* session, const char* format, ...) QELLOG_FORMAT(2, 3);

/** Serves the commands of `table` and of all modules on an endpoint, until the endpoint is destroyed or
 * ctlcmd_listen_stop() is called. The policy of the bus decides who may send commands. `endpoint` is the name that the
 * shell's help shows. The table is copied, but its texts are not, and must outlive the service.
 *
 * Returns 0, or a negative errno: -EINVAL for a NULL argument, -EBUSY if the endpoint is already served. */
int ctlcmd_listen_start(struct qelipc* ipc, const char* endpoint, const ctlcmd_table* table);

/** Stops serving an endpoint. Does nothing if it is not served. */
void ctlcmd_listen_stop(struct qelipc* ipc);

/** Adds a module, whose commands are then available under its name on all endpoints. `name`, `commands` and their texts
 * are kept as pointers and must remain valid until ctlcmd_unregister_library(). Its context is initially NULL.
 *
 * Returns 0, or a negative errno: -EINVAL, -EEXIST if a module of this name is already registered. */
int ctlcmd_register_library(const char* name, const ctlcmd_command* commands, size_t count);

/** Sets the context that the commands of a module receive. Returns 0, or -ENOENT if there is no such module. */
int ctlcmd_module_set_ctx(const char* name, void* context);

/** Removes a module; one of its own commands may call it. Returns 0, or -ENOENT if there is no such module. */
int ctlcmd_unregister_library(const char* name);

/** Receives an answer, or a piece of one; `text` is not NUL-terminated. */
typedef void (*ctlcmd_output)(void* context, const char* text, size_t length);

/** Runs one command line in this process, immediately: a command of the `module`, or any command if that is NULL or "".
 * If several services have a command of the name in their tables, the first one is used.
 *
 * The answer goes to infomsg(). Returns 0 for success or one of the results above; an error of the shell itself is also
 * part of the answer. */
int ctlcmd_docommand(const char* module, const char* command);
/** Runs one command line in the same way, but passes the answer to `output`. */
int ctlcmd_docommand_to(const char* module, const char* command, ctlcmd_output output, void* output_context);

/* The built-in commands, to be included in a table. */

/** Lists the commands of the table and of every module, or those of the module given as argument. */
int ctlcmd_help(ctlcmd_session* session, int argc, const char* const* argv, void* context);
/** Prints the allocator's own account of its arenas, like malloc_info(3). */
int ctlcmd_slabdump(ctlcmd_session* session, int argc, const char* const* argv, void* context);
/** Prints the totals of the allocator: octets obtained from the system, in use, free, and reclaimable. */
int ctlcmd_slabshow(ctlcmd_session* session, int argc, const char* const* argv, void* context);
/** Returns CTLCMD_CLOSED. */
int ctlcmd_quit(ctlcmd_session* session, int argc, const char* const* argv, void* context);

#ifdef __cplusplus
}
#endif

#endif
