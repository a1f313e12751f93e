#pragma once

/// Marks what the shared library offers; everything else stays hidden.
#define QEL_EXPORT [[gnu::visibility("default")]]
