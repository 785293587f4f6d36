#pragma once
// A test hook that makes the engine run out of memory on purpose, to show that every failure
// path returns an error instead of crashing or leaking.

namespace platform {

// Contexts created after this call fail every allocation from the failFrom-th one on (counting
// from 1); 0 lifts the limit. The process-wide context is let go, so the next document opened
// gets a fresh context under the new limit; documents already open keep theirs.
void setMuPDFAllocationLimit(long failFrom);

}  // namespace platform
