/** @file
 * Memory housekeeping, part of the platform's event-loop library. */
#ifndef SLAB_H
#define SLAB_H

#ifdef __cplusplus
extern "C" {
#endif

/** Returns the allocator's free memory to the system. Meant to be called about once a second. */
void slab_reap(void);

#ifdef __cplusplus
}
#endif

#endif
