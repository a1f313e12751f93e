#pragma once

/// Marks what the shared library offers; everything else stays hidden. It also marks the enumerations by which
/// templates are distinguished: to clang an instance is hidden when the type of an argument is.
#define QEL_EXPORT [[gnu::visibility("default")]]
