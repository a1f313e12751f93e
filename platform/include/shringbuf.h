/** @file
 * A ring of text lines in shared memory: one writer, any number of readers in other processes, no locks.
 *
 * The ring named N is the POSIX shared memory object "/N" ("%" and "/" in N are written as %25 and %2F). A reader needs
 * no help from the writer and can read the ring of a writer that died. It has the following layout; all numbers are
 * 32-bit, in the byte order of the machine:
 *
 *     header   64 octets: "QELR", version 1, octets of a slot, number of slots, number of the next part,
 *              finished (0 or 1), then zeros
 *     slots    256 octets each: sequence, length, time (2 words: the low one first), text
 *
 * A line consists of one part or several consecutive parts. Part n (counted from 0, modulo 2^31) is in slot n modulo
 * the number of slots, which is a power of two. The sequence is 2n+1 while the part is being written and 2n+2 when it
 * is complete. Bit 31 of the length means that the line continues in the next part, bit 30 that it began in an earlier
 * one. The time is in microseconds since 1970-01-01 UTC. A reader copies a part and then checks its sequence again; if
 * it changed, the copy is invalid. */
#ifndef SHRINGBUF_H
#define SHRINGBUF_H

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include "qellog.h"

#ifdef __cplusplus
extern "C" {
#endif

/** A writer's handle. */
typedef struct shringbuf shringbuf;

/** Maximum size of a ring, in octets. */
#define SHRINGBUF_SIZE_MAX (1u << 20)

/** Creates the ring of this name, in about `size` octets of memory (from 4096 to SHRINGBUF_SIZE_MAX; the header is
 * added to this, and the number of slots is rounded down to a power of two). Owner and group may read it.
 *
 * A ring left by an earlier writer of this name is replaced. If another writer of this name is alive, or the name
 * belongs to a user whose files we may not remove, the new ring is private: it works, but readers cannot find it, which
 * errmsg() reports. A ring named "app_", digits and "_log" belongs to a loop without a name, and such loops get a
 * different number each time: when one more is created, the caller's own rings of this kind whose writers are dead are
 * removed. Returns NULL with errno set on failure. */
shringbuf* shringbuf_init(const char* name, size_t size);

/** Marks the ring as finished, removes its name unless that now belongs to another ring, and frees the writer's handle.
 * Attached readers keep what they see. NULL is ignored. */
void shringbuf_deinit(shringbuf* ring);

/** Adds one line, with a printf format; newlines in it are kept. A line that would fill more than half of the ring is
 * truncated. Never blocks. Returns 0, or -1 if formatting or memory allocation fails. */
int shringbuf_add(shringbuf* ring, const char* format, ...) QELLOG_FORMAT(2, 3);

/** A reader's handle. */
typedef struct shringbuf_reader shringbuf_reader;

/** Opens the ring of this name for reading, starting at its oldest line. Returns NULL with errno set if there is none
 * (ENOENT), it may not be read (EACCES) or it is not a ring (EPROTO, ELOOP).
 *
 * A reader only copies: whatever the memory contains and however it changes, each call ends soon. */
shringbuf_reader* shringbuf_attach(const char* name);

/** Frees a reader's handle. NULL is ignored. */
void shringbuf_detach(shringbuf_reader* reader);

/** Stores the owner of the ring: anyone who can create shared memory can create a ring of any name. Returns 0, or a
 * negative errno. */
int shringbuf_owner(const shringbuf_reader* reader, uid_t* user, gid_t* group);

/** Reads the next line.
 *
 * Returns 1 and stores the line in `text` (truncated to `size` - 1 octets, always NUL-terminated), or 0 if there is
 * none yet or the memory is not valid. `time`, if not NULL, receives the microseconds since 1970-01-01 UTC at which the
 * line was added. `lost`, if not NULL, receives the number of parts that were overwritten before this reader reached
 * them, since the last call. */
int shringbuf_read(shringbuf_reader* reader, char* text, size_t size, int64_t* time, uint32_t* lost);

/** Returns 1 while the ring's writer is alive and has not finished. Otherwise returns 0: nothing more will be written,
 * and a newer ring of the same name may exist, which shringbuf_attach() opens. */
int shringbuf_writer_alive(const shringbuf_reader* reader);

/** Removes the ring of this name that a dead writer left. Returns 0, or a negative errno: -ENOENT, -EBUSY while the
 * writer is alive. */
int shringbuf_remove(const char* name);

#ifdef __cplusplus
}
#endif

#endif
