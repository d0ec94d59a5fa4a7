#pragma once

#include <cstddef>

namespace varnel::test {

/// How often this thread has allocated from the heap so far.
std::size_t allocationCount();

} // namespace varnel::test
