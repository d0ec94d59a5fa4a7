#pragma once

namespace varnel {

/// Prepares the allocator for a process that lives long and does little: one arena for all threads. Call it
/// before the first thread starts.
void prepareMemoryForLongLife();
/// Gives memory that is not in use back to the system: of the heap, and of code that has run for the last time
/// for a while.
void returnUnusedMemory();

} // namespace varnel
