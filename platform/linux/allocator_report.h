// What the allocator says of itself, for the command shell.
#ifndef QEL_PLATFORM_ALLOCATOR_REPORT_H
#define QEL_PLATFORM_ALLOCATOR_REPORT_H

#include <string>

namespace qel::platform {

/// The totals, one a line.
std::string allocator_totals();

/// The whole account, as XML; empty when out of memory.
std::string allocator_account();

}  // namespace qel::platform

#endif
