/** @file
 * One-shot timers of the platform's event-loop library, on the monotonic clock.
 *
 * A timer never fires early, and only inside evsock_select_with_msecs(), in phase 2 of a turn. Timers that are due in
 * one turn fire by time of expiry, those of the same microsecond in the order of arming. A timer armed by a timer's
 * callback fires in a later turn, also with a count of 0.
 *
 * When a callback in C++ throws, the turn ends, the exception leaves evsock_select_with_msecs(), and the other timers
 * that were due fire in the next turn. */
#ifndef CTIMER_H
#define CTIMER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Names an armed timer. NULL: not armed. The value is not an address; a stale one is recognised and does no harm;
 * with pointers of 32 bits, until its place has held 65536 more timers. */
typedef struct ctimer* ctimerhandle;

/** Called when a timer is due. The timer's handle variable has been cleared before, so that the timer may be armed
 * again at once; `handle` is the value that it had. */
typedef void (*ctimer_callback_fn)(ctimerhandle handle, void* cbdata);

/** A point of the monotonic clock. */
struct ctimer_tval {
  int64_t tv_sec;  /**< whole seconds, 0 or more */
  int32_t tv_usec; /**< 0 to 999999 */
};

/** The one kind of timer there is: it fires once. */
#define CTIMER_ONESHOT 2

/** Results below 0. */
#define CTIMER_EINVALID (-1)  /**< setup, unsetup: a parameter is not valid; endtval: the timer is not running */
#define CTIMER_ERESOURCE (-2) /**< setup: out of memory or of timers */
#define CTIMER_EDELETED (-2)  /**< unsetup, endtval: the handle names a timer that fired or was stopped */
#define CTIMER_EHANDLE (-3)   /**< the handle never named a timer */
#define CTIMER_ECHANGED (-4)  /**< the handle names a timer that was armed with another variable */

/** Arms a timer that fires `count` / `units` seconds from now and stores its name in `*handle`.
 *
 * `*handle` must be NULL before, and the variable must stay where it is while the timer is armed: the library clears it
 * when the timer fires. `kind` is CTIMER_ONESHOT; `count` is 0 or more; `units` is the number of ticks in a second,
 * from 1 to 1000000. `flags` and the other reserved parameters must be 0.
 *
 * Returns 0, CTIMER_EINVALID, CTIMER_ERESOURCE, CTIMER_EHANDLE (`*handle` is not NULL and names nothing armed) or
 * CTIMER_ECHANGED (`*handle` names an armed timer; stop it first). */
int ctimer_setup_internal(int flags, ctimerhandle* handle, int kind, int reserved1, int count, unsigned units,
                          ctimer_callback_fn callback, void* cbdata, int reserved2, int reserved3);

/** Stops a timer and clears `*handle`.
 *
 * Returns 0, CTIMER_EINVALID (also for `*handle` NULL), CTIMER_EDELETED, CTIMER_EHANDLE or CTIMER_ECHANGED. */
int ctimer_unsetup_internal(ctimerhandle* handle, int kind);

/** Stores in `*end` when the timer is due. Returns 0, CTIMER_EINVALID (also for `*handle` NULL: it is not running),
 * CTIMER_EDELETED or CTIMER_EHANDLE. */
int ctimer_endtval_internal(const ctimerhandle* handle, int kind, struct ctimer_tval* end);

/** Stores the present time, of the same clock as ctimer_endtval_internal(). */
void ctimer_elapsedtval(struct ctimer_tval* now);

#ifdef __cplusplus
}
#endif

#endif
