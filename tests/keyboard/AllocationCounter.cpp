#include "AllocationCounter.h"

#include <cstdlib>
#include <new>

namespace varnel::test {
namespace {
thread_local std::size_t count = 0;
}
std::size_t allocationCount() {
    return count;
}
} // namespace varnel::test

// The sanitizers bring their own; under them nothing is counted.
#ifndef VARNEL_SANITIZED
void* operator new(std::size_t size) {
    ++varnel::test::count;
    if (void* memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
#endif
