#pragma once

#include <string>

/// The allocator's own figures, for the command shell.
namespace qel::platform {

/// The totals, one per line.
std::string allocator_totals();

/// The full account, as XML; empty if out of memory.
std::string allocator_account();

}  // namespace qel::platform
