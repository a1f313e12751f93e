#pragma once

/// Marks the symbols that the shared library exports; all others are hidden. Enumerations used as template arguments
/// need it too: clang hides an instantiation if the type of an argument is hidden.
#define QEL_EXPORT [[gnu::visibility("default")]]
