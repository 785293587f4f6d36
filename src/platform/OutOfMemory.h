#pragma once
// Running out of memory. C++ code learns of it by std::bad_alloc; the engine and the XML tree
// answer a refused allocation with an empty or cut-short result instead, so their refusals are
// noted here for the job to look at. And how much address space the process may still take,
// under the limit it was started with (RLIMIT_AS, what `ulimit -v` sets).

#include <cstddef>

namespace platform {

// Notes that the system refused a library bytes of memory.
void noteRefusedMemory(std::size_t bytes);
// True once the system refused memory (of a plausible size: a damaged file can make the engine
// ask for absurd sizes, which it refuses alone) to the engine or the XML tree in this process.
// What they made since may be cut short: a job that sees this must fail, not write it.
bool ranOutOfMemory();

// True when no limit is set or at least bytes are left below it.
bool hasAddressSpaceLeft(std::size_t bytes);

}  // namespace platform
