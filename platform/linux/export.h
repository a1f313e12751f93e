// Functions of the platform's headers are visible outside their library; all others are hidden.
#ifndef QEL_PLATFORM_EXPORT_H
#define QEL_PLATFORM_EXPORT_H

#define QEL_EXPORT __attribute__((visibility("default")))

#endif
