// The allocator's own figures, for the command shell.
#ifndef QEL_PLATFORM_ALLOCATOR_REPORT_H
#define QEL_PLATFORM_ALLOCATOR_REPORT_H

#include <string>

namespace qel::platform {

/// The totals, one per line.
std::string allocator_totals();

/// The full account, as XML; empty if out of memory.
std::string allocator_account();

}  // namespace qel::platform

#endif
