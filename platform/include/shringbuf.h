/** @file
 * A ring of text lines in shared memory: one writer, any number of readers in other processes, no locks.
 *
 * The ring of the name N is the POSIX shared memory object "/N" ("%" and "/" in N written as %25 and %2F), so a reader
 * needs no help of the writer and can read what a writer left that died. It has this layout, all numbers 32-bit in the
 * byte order of the machine:
 *
 *     header   64 octets: "QELR", version 1, octets of a slot, number of slots, number of the next part,
 *              finished (0 or 1), then zeros
 *     slots    256 octets each: sequence, length, time (2 words: the low one first), text
 *
 * A line is one part or several parts in a row; part n (counted from 0, modulo 2^31) goes into slot n modulo the number
 * of slots, which is a power of two. The sequence is 2n+1 while the part is written and 2n+2 when it is complete. Bit
 * 31 of the length says that the line goes on in the next part, bit 30 that it began in an earlier one. The time is in
 * microseconds since 1970-01-01 UTC. A reader copies a part and then looks at its sequence again: when it changed, the
 * copy is worth nothing. */
#ifndef SHRINGBUF_H
#define SHRINGBUF_H

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include "qellog.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The writer's end. */
typedef struct shringbuf shringbuf;

/** Octets that a ring may have at most. */
#define SHRINGBUF_SIZE_MAX (1u << 20)

/** Creates the ring of this name, in about `size` octets of memory (from 4096 to SHRINGBUF_SIZE_MAX; the header comes
 * on top, and the slots are rounded down to a power of two). Owner and group may read it.
 *
 * What an earlier writer left under the name is replaced. When another writer of the name lives, or the name belongs to
 * a user whose files we may not remove, the new ring is private: it works, but no reader finds it, which errmsg()
 * tells. A ring called "app_", digits and "_log" is that of a loop without a name, which gets another number each time:
 * the caller's own ones whose writers are dead are removed when one more is created. Returns NULL with errno set on
 * failure. */
shringbuf* shringbuf_init(const char* name, size_t size);

/** Marks the ring as finished, removes its name unless that is another ring's by now, and frees the writer's end.
 * Readers that are attached keep what they see. NULL is ignored. */
void shringbuf_deinit(shringbuf* ring);

/** Adds one line, by a printf format; newlines in it are kept. A line that would fill more than half of the ring is
 * cut. Never waits. Returns 0, or -1 when the format or the memory fails. */
int shringbuf_add(shringbuf* ring, const char* format, ...) QELLOG_FORMAT(2, 3);

/** A reader's end. */
typedef struct shringbuf_reader shringbuf_reader;

/** Opens the ring of this name for reading, at the oldest line that is still there. NULL with errno set when there is
 * none (ENOENT), it may not be read (EACCES) or it is not a ring (EPROTO, ELOOP).
 *
 * A reader only copies: whatever stands in the memory and whatever becomes of it, each call ends soon. */
shringbuf_reader* shringbuf_attach(const char* name);

/** Frees a reader's end. NULL is ignored. */
void shringbuf_detach(shringbuf_reader* reader);

/** Stores who owns the ring: whoever may make shared memory can make one of any name. Returns 0, or a negative errno.
 */
int shringbuf_owner(const shringbuf_reader* reader, uid_t* user, gid_t* group);

/** Takes the next line.
 *
 * Returns 1 and the line in `text` (cut at `size` - 1 octets, always ended by a NUL), or 0 when there is none yet, or
 * the memory makes no sense.
 * `time`, when not NULL, gets the microseconds since 1970-01-01 UTC at which the line was added. `lost`, when not NULL,
 * gets the number of parts that were overwritten before this reader came to them since the last call. */
int shringbuf_read(shringbuf_reader* reader, char* text, size_t size, int64_t* time, uint32_t* lost);

/** 1 while the ring's writer lives and has not finished, else 0: then nothing more will come, and the ring may have
 * been replaced by a newer one of the same name, to which shringbuf_attach() leads. */
int shringbuf_writer_alive(const shringbuf_reader* reader);

/** Removes the ring of this name that a dead writer left. Returns 0, or a negative errno: -ENOENT, -EBUSY while the
 * writer lives. */
int shringbuf_remove(const char* name);

#ifdef __cplusplus
}
#endif

#endif
