/** @file
 * One-shot timers of the platform's event-loop library, on the monotonic clock.
 *
 * A timer never fires early, and only inside evsock_select_with_msecs(), in phase 2 of a turn. Timers that are due in
 * the same turn fire in order of expiry; those due in the same microsecond fire in the order in which they were armed.
 * A timer armed by a timer's callback fires in a later turn, even with a count of 0.
 *
 * If a C++ callback throws, the turn ends, the exception leaves evsock_select_with_msecs(), and the other timers that
 * were due fire in the next turn. */
#ifndef CTIMER_H
#define CTIMER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Identifies an armed timer; NULL means not armed. The value is not an address. A stale handle is recognised and
 * harmless; with 32-bit pointers, until its slot has held 65536 more timers. */
typedef struct ctimer* ctimerhandle;

/** Called when a timer is due. The timer's handle variable has already been cleared, so the timer can be armed again at
 * once; `handle` is its former value. */
typedef void (*ctimer_callback_fn)(ctimerhandle handle, void* cbdata);

/** A point in time on the monotonic clock. */
struct ctimer_tval {
  int64_t tv_sec;  /**< whole seconds, 0 or more */
  int32_t tv_usec; /**< 0 to 999999 */
};

/** The only kind of timer: it fires once. */
#define CTIMER_ONESHOT 2

/** Results below 0. */
#define CTIMER_EINVALID (-1)  /**< setup, unsetup: invalid parameter; endtval: the timer is not running */
#define CTIMER_ERESOURCE (-2) /**< setup: out of memory or of timers */
#define CTIMER_EDELETED (-2)  /**< unsetup, endtval: the handle is that of a timer that fired or was stopped */
#define CTIMER_EHANDLE (-3)   /**< the handle was never that of a timer */
#define CTIMER_ECHANGED (-4)  /**< the timer was armed with another handle variable */

/** Arms a timer that fires `count` / `units` seconds from now and stores its handle in `*handle`.
 *
 * `*handle` must be NULL, and the variable must not move while the timer is armed, because the library clears it when
 * the timer fires. `kind` is CTIMER_ONESHOT; `count` is 0 or more; `units` is the number of ticks per second, from 1 to
 * 1000000. `flags` and the other reserved parameters must be 0.
 *
 * Returns 0, CTIMER_EINVALID, CTIMER_ERESOURCE, CTIMER_EHANDLE (`*handle` is neither NULL nor the handle of an armed
 * timer) or CTIMER_ECHANGED (`*handle` is the handle of an armed timer; stop it first). */
int ctimer_setup_internal(int flags, ctimerhandle* handle, int kind, int reserved1, int count, unsigned units,
                          ctimer_callback_fn callback, void* cbdata, int reserved2, int reserved3);

/** Stops a timer and clears `*handle`.
 *
 * Returns 0, CTIMER_EINVALID (also if `*handle` is NULL), CTIMER_EDELETED, CTIMER_EHANDLE or CTIMER_ECHANGED. */
int ctimer_unsetup_internal(ctimerhandle* handle, int kind);

/** Stores in `*end` the time when the timer is due. Returns 0, CTIMER_EINVALID (also if `*handle` is NULL, so the timer
 * is not running), CTIMER_EDELETED or CTIMER_EHANDLE. */
int ctimer_endtval_internal(const ctimerhandle* handle, int kind, struct ctimer_tval* end);

/** Stores the current time, on the same clock as ctimer_endtval_internal(). */
void ctimer_elapsedtval(struct ctimer_tval* now);

#ifdef __cplusplus
}
#endif

#endif
