#pragma once

/// Functions of the platform's headers are visible outside their library; all others are hidden.
#define QEL_EXPORT __attribute__((visibility("default")))
