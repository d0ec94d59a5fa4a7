#pragma once

#include <sys/mman.h>

#include <cstdint>

// Set by the linker: where the program begins, and where its code ends.
extern "C" const char __executable_start, etext; // NOLINT(bugprone-reserved-identifier)

namespace varnel {

/// Gives the memory of code back that only the start needed; what runs again is mapped again, from the file's
/// pages that the system keeps. For programs that wait most of the time, when they begin to.
inline void forgetStartupCode() {
    constexpr std::uintptr_t kPage = 65536; // the largest that Linux uses
    const std::uintptr_t begin =
        (reinterpret_cast<std::uintptr_t>(&__executable_start) + kPage - 1) & ~(kPage - 1);
    const std::uintptr_t end = reinterpret_cast<std::uintptr_t>(&etext) & ~(kPage - 1);
    if (begin < end)
        ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_DONTNEED);
}

} // namespace varnel
