#pragma once
// What the process does with memory it frees.

namespace platform {

// Keeps freed memory in the process for the next page instead of handing it back to the system
// at once. The engine builds and frees a page's text, a few megabytes, page after page; given
// back each time, the memory costs page faults to take again and, with several threads, a flush
// of every core's address cache to give back. Call once, before any thread starts.
void keepFreedMemoryForReuse();

}  // namespace platform
